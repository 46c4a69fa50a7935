#include "filter/script_lines.h"

#include <algorithm>

std::string_view take_script_line(std::string_view& text) {
    const std::string_view line = text.substr(0, std::min(text.find('\n'), text.size() - 1) + 1);
    text.remove_prefix(line.size());
    return line;
}

std::string marked(char mark, std::string_view line) { return mark + std::string(line.substr(1)); }

std::string switched(bool on, std::string_view line) {
    if (is_on(line) == on) return std::string(line);
    const bool has_mark = line.starts_with(kLineOn) || line.starts_with(kLineOff);
    return has_mark ? marked(mark_of(on), line) : mark_of(on) + std::string(line);
}
