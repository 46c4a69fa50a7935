#include "base/format.h"

#include <array>

namespace {

constexpr std::array<std::string_view, 6> kDirectives = {"%s", "%d", "%u", "%ld", "%lu", "%c"};

std::string_view directive_at(std::string_view text) {
    for (const std::string_view directive : kDirectives)
        if (text.starts_with(directive)) return directive;
    return {};
}

void append_argument(std::string& out, std::string_view directive, const FormatArg& argument) {
    if (const auto* text = std::get_if<std::string_view>(&argument)) {
        out += *text;
        return;
    }
    const long number = std::get<long>(argument);
    if (directive == "%c")
        out += static_cast<char>(number);
    else if (directive == "%u")
        out += std::to_string(static_cast<unsigned>(number));
    else if (directive == "%lu")
        out += std::to_string(static_cast<unsigned long>(number));
    else
        out += std::to_string(number);
}

}  // namespace

std::string format_text(std::string_view format, const FormatArg& a, const FormatArg& b,
                        const FormatArg& c) {
    const std::array<const FormatArg*, 3> arguments = {&a, &b, &c};
    std::size_t used = 0;
    std::string out;
    while (!format.empty()) {
        if (format.starts_with("%%")) {
            out += '%';
            format.remove_prefix(2);
            continue;
        }
        const std::string_view directive = directive_at(format);
        if (directive.empty()) {
            out += format.front();
            format.remove_prefix(1);
            continue;
        }
        if (used < arguments.size() && arguments[used]->index() != 0)
            append_argument(out, directive, *arguments[used++]);
        else
            out += directive;
        format.remove_prefix(directive.size());
    }
    return out;
}
