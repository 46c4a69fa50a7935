#include "framework/multipart.h"

#include <algorithm>
#include <optional>

#include "base/text.h"

namespace {

constexpr std::string_view kType = "multipart/form-data";
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kLongestBoundary = 70;

bool starts_with_ignoring_case(std::string_view text, std::string_view start) {
    return StrniCmp(text, start, start.size()) == 0;
}

std::string_view without_blanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return "";
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// Takes a quoted text off the front of `rest`. Only a quote is escaped by a backslash: browsers
// send the backslashes of file names as they are.
std::optional<std::string> take_quoted(std::string_view& rest) {
    std::string text;
    for (std::size_t i = 1; i < rest.size(); ++i) {
        if (rest[i] == '"') {
            rest.remove_prefix(i + 1);
            return text;
        }
        if (rest.substr(i).starts_with("\\\"")) ++i;
        text += rest[i];
    }
    return std::nullopt;
}

// The parameter of a header value "token; name=value; name="value"".
std::optional<std::string> parameter(std::string_view header, std::string_view name) {
    header.remove_prefix(std::min(header.find(';'), header.size()));
    while (header.starts_with(';')) {
        header = without_blanks(header.substr(1));
        const std::size_t equals = std::min(header.find_first_of("=;"), header.size());
        const bool is_wanted = StrCmpi(without_blanks(header.substr(0, equals)), name) == 0;
        header.remove_prefix(equals);
        if (!header.starts_with('=')) continue;
        header = without_blanks(header.substr(1));
        std::optional<std::string> value;
        if (header.starts_with('"')) {
            value = take_quoted(header);
            if (!value) return std::nullopt;
        } else {
            value = without_blanks(header.substr(0, header.find(';')));
        }
        if (is_wanted) return value;
        header.remove_prefix(std::min(header.find(';'), header.size()));
    }
    return std::nullopt;
}

// Takes the text up to `mark` off the front of `rest`, and the mark itself.
std::optional<std::string_view> take_up_to(std::string_view& rest, std::string_view mark) {
    const std::size_t at = rest.find(mark);
    if (at == std::string_view::npos) return std::nullopt;
    const std::string_view text = rest.substr(0, at);
    rest.remove_prefix(at + mark.size());
    return text;
}

// Reads the headers of a part, up to their empty line; false without a name for the field.
bool take_headers(std::string_view& rest, FormPart& part) {
    constexpr std::string_view kDisposition = "content-disposition:";
    std::optional<std::string> name;
    for (;;) {
        const std::optional<std::string_view> line = take_up_to(rest, kLineEnd);
        if (!line) return false;
        if (line->empty()) break;
        if (!starts_with_ignoring_case(*line, kDisposition)) continue;
        const std::string_view value = without_blanks(line->substr(kDisposition.size()));
        if (!starts_with_ignoring_case(value, "form-data")) return false;
        name = parameter(value, "name");
        const std::optional<std::string> file_name = parameter(value, "filename");
        part.is_file = file_name.has_value();
        part.file_name = file_name.value_or("");
    }
    part.name = name.value_or("");
    return name.has_value();
}

}  // namespace

bool is_multipart(std::string_view content_type) {
    const std::string_view type = content_type.substr(0, content_type.find(';'));
    return StrCmpi(without_blanks(type), kType) == 0;
}

bool split_multipart(std::string_view content_type, std::string_view body,
                     std::vector<FormPart>& parts) {
    const std::string boundary = parameter(content_type, "boundary").value_or("");
    if (boundary.empty() || boundary.size() > kLongestBoundary) return false;
    const std::string first = "--" + boundary;
    const std::string between = std::string(kLineEnd) + first;

    std::string_view rest = body;
    if (rest.starts_with(first))
        rest.remove_prefix(first.size());
    else if (!take_up_to(rest, between))
        return false;
    std::size_t files = 0;
    while (!rest.starts_with("--")) {
        const std::optional<std::string_view> padding = take_up_to(rest, kLineEnd);
        if (!padding || !without_blanks(*padding).empty()) return false;
        FormPart part;
        if (!take_headers(rest, part)) return false;
        const std::optional<std::string_view> content = take_up_to(rest, between);
        if (!content) return false;
        part.content = *content;
        if (part.is_file && ++files > kMostFiles) return false;
        parts.push_back(std::move(part));
    }
    return true;
}
