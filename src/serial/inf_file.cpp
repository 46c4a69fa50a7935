#include "serial/inf_file.h"

#include <algorithm>
#include <string>

namespace {

constexpr std::size_t kLine = 275;  // characters that are read of a line at a time

}  // namespace

std::string_view without_leading_spaces(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

std::optional<std::string_view> take_line(std::string_view& text) {
    while (!text.empty()) {
        const std::size_t line_feed = text.substr(0, kLine - 1).find('\n');
        const std::size_t length = std::min({line_feed, kLine - 1, text.size() - 1}) + 1;
        const std::string_view line = text.substr(0, length);
        text.remove_prefix(length);
        if (line.front() != '\r' && line.front() != '\n' && line.front() != ';') return line;
    }
    return std::nullopt;
}

std::optional<std::string_view> take_section_line(std::string_view& text) {
    std::string_view rest = text;
    const std::optional<std::string_view> line = take_line(rest);
    if (line && line->starts_with('[')) return std::nullopt;
    text = rest;
    return line;
}

bool comes_before(std::string_view a, std::string_view b) {
    const int order = a.compare(b);
    return order != 0 ? order < 0 : a.data() < b.data();
}

NameIndex::NameIndex(char open, char close, std::string_view text, Take& take)
    : open_(open), close_(close) {
    std::size_t named = 0;
    for (std::string_view rest = text; const auto line = take(rest);) named += is_named(*line);
    lines_.reserve(named);  // a vector that grows would be there twice
    while (const auto line = take(text))
        if (is_named(*line)) lines_.push_back(*line);

    std::ranges::sort(lines_, comes_before);
    lines_.erase(std::unique(lines_.begin(), lines_.end()), lines_.end());
    first_.resize(lines_.size());
    for (std::size_t node = first_.size(); node-- > 1;)
        first_[node] = earlier(first_below(2 * node), first_below(2 * node + 1));
}

bool NameIndex::is_named(std::string_view line) const {
    return line.starts_with(open_) && line.find(close_, 1) != line.npos;
}

std::optional<std::size_t> NameIndex::find(std::string_view name) const {
    const std::string marked = open_ + std::string(name) + close_;
    const auto beginning = [&](std::string_view line) { return line.substr(0, marked.size()); };
    const auto from = std::ranges::lower_bound(lines_, marked, {}, beginning) - lines_.begin();
    const auto to = std::ranges::upper_bound(lines_, marked, {}, beginning) - lines_.begin();
    if (from == to) return std::nullopt;
    return first_of(static_cast<std::size_t>(from), static_cast<std::size_t>(to));
}

NameIndex::Number NameIndex::earlier(Number a, Number b) const {
    return lines_[a].data() < lines_[b].data() ? a : b;
}

// Nodes count from 1, those below node n are 2n and 2n + 1. Behind the nodes come the lines.
NameIndex::Number NameIndex::first_below(std::size_t node) const {
    return node < first_.size() ? first_[node] : static_cast<Number>(node - first_.size());
}

NameIndex::Number NameIndex::first_of(std::size_t from, std::size_t to) const {
    auto first = static_cast<Number>(from);
    for (from += size(), to += size(); from < to; from /= 2, to /= 2) {
        if (from % 2 != 0) first = earlier(first, first_below(from++));
        if (to % 2 != 0) first = earlier(first, first_below(--to));
    }
    return first;
}

std::string_view InfFile::behind(std::size_t section) const {
    const std::string_view header = headers_[section];
    return text_.substr(static_cast<std::size_t>(header.data() - text_.data()) + header.size());
}
