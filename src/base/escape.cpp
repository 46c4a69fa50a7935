#include "base/escape.h"

#include <algorithm>
#include <array>

namespace {

using namespace std::string_view_literals;

// What stands for a character; nothing for one that stands for itself.
constexpr std::string_view reference_to(char c) {
    switch (c) {
        case '&':
            return "&amp;"sv;
        case '<':
            return "&lt;"sv;
        case '>':
            return "&gt;"sv;
        case '"':
            return "&quot;"sv;
        case '\'':
            return "&#39;"sv;
        default:
            return {};
    }
}

// Whether a character stands for itself.
constexpr std::array<bool, 256> kPlain = [] {
    std::array<bool, 256> plain{};
    for (std::size_t c = 0; c < plain.size(); ++c)
        plain[c] = reference_to(static_cast<char>(c)).empty();
    return plain;
}();

void append_escaped(std::string& page, std::string_view text) {
    std::size_t plain = 0;  // where the characters begin that stand for themselves
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (kPlain[static_cast<unsigned char>(text[i])]) continue;
        page += text.substr(plain, i - plain);
        page += reference_to(text[i]);
        plain = i + 1;
    }
    page += text.substr(plain);
}

// The generators write markup at the beginning and end of a line only, and what they show has no
// line end: so a line tells its markup from a cell that looks like it.
template <class AppendLine>
std::string escape_lines(std::string_view text, AppendLine append_line) {
    std::string page;
    page.reserve(text.size());
    for (;;) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        append_line(page, text.substr(0, end));
        if (end == text.size()) return page;
        page += '\n';
        text.remove_prefix(end + 1);
    }
}

void append_option(std::string& page, std::string_view line) {
    constexpr std::string_view kOption = "<option>";
    if (line.starts_with(kOption)) {
        page += kOption;
        line.remove_prefix(kOption.size());
    }
    append_escaped(page, line);
}

void append_broken(std::string& page, std::string_view line) {
    constexpr std::string_view kBreak = "<BR>";
    for (auto at = line.find(kBreak); at != line.npos; at = line.find(kBreak)) {
        append_escaped(page, line.substr(0, at));
        page += kBreak;
        line.remove_prefix(at + kBreak.size());
    }
    append_escaped(page, line);
}

void append_row(std::string& page, std::string_view line) {
    constexpr std::string_view kCell = "<td nowrap>";
    constexpr std::string_view kCellEnd = "</td>";
    if (line == "<tr>" || line == "</tr>") {
        page += line;
    } else if (line.starts_with(kCell) && line.ends_with(kCellEnd)) {
        line.remove_prefix(kCell.size());
        line.remove_suffix(kCellEnd.size());
        page += kCell;
        append_escaped(page, line);
        page += kCellEnd;
    } else {
        append_broken(page, line);
    }
}

}  // namespace

bool stands_for_itself(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return kPlain[static_cast<unsigned char>(c)]; });
}

std::string escape_html(std::string_view text) {
    std::string page;
    page.reserve(text.size());
    append_escaped(page, text);
    return page;
}

std::string escape_options(std::string_view text) { return escape_lines(text, append_option); }

std::string escape_rows(std::string_view text) { return escape_lines(text, append_row); }
