#include "base/format.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace {

constexpr std::array<std::string_view, 7> kNumbers = {"%d", "%i", "%u", "%x", "%ld", "%lu", "%c"};

// A directive as it is written, and how its argument is cut and filled up with blanks.
struct Directive {
    std::string_view written;  // empty: none
    bool is_left = false;
    std::size_t least = 0;
    std::size_t most = std::string_view::npos;
};

bool take(std::string_view& rest, char c) {
    if (!rest.starts_with(c)) return false;
    rest.remove_prefix(1);
    return true;
}

// A size has at most three digits: more than any message has characters.
std::size_t take_size(std::string_view& rest) {
    constexpr std::size_t kMostDigits = 3;
    const std::string_view digits = rest.substr(0, kMostDigits);
    std::size_t size = 0;
    const char* end = std::from_chars(digits.data(), digits.data() + digits.size(), size).ptr;
    rest.remove_prefix(static_cast<std::size_t>(end - digits.data()));
    return size;
}

Directive directive_at(std::string_view text) {
    for (const std::string_view number : kNumbers)
        if (text.starts_with(number)) return {number};
    std::string_view rest = text;
    if (!take(rest, '%')) return {};
    Directive found;
    found.is_left = take(rest, '-');
    found.least = take_size(rest);
    if (take(rest, '.')) found.most = take_size(rest);
    if (!take(rest, 's')) return {};
    found.written = text.substr(0, text.size() - rest.size());
    return found;
}

std::string hexadecimal(unsigned number) {
    std::array<char, 2 * sizeof number> digits{};
    return {digits.begin(), std::to_chars(digits.begin(), digits.end(), number, 16).ptr};
}

std::string shown(const FormatArg& argument, std::string_view directive) {
    if (const auto* text = std::get_if<std::string_view>(&argument)) return std::string(*text);
    const long number = std::get<long>(argument);
    if (directive == "%c") return {static_cast<char>(number)};
    if (directive == "%x") return hexadecimal(static_cast<unsigned>(number));
    if (directive == "%u") return std::to_string(static_cast<unsigned>(number));
    if (directive == "%lu") return std::to_string(static_cast<unsigned long>(number));
    return std::to_string(number);
}

std::string fitted(std::string text, const Directive& directive) {
    text.resize(std::min(text.size(), directive.most));
    const std::size_t blanks = std::max(text.size(), directive.least) - text.size();
    return text.insert(directive.is_left ? text.size() : 0, blanks, ' ');
}

}  // namespace

std::string format_text(std::string_view format, const FormatArg& a, const FormatArg& b,
                        const FormatArg& c) {
    const std::array<const FormatArg*, 3> arguments = {&a, &b, &c};
    std::size_t used = 0;
    std::string out;
    for (;;) {
        const std::size_t plain = std::min(format.find('%'), format.size());
        out += format.substr(0, plain);
        format.remove_prefix(plain);
        if (format.empty()) return out;
        if (format.starts_with("%%")) {
            out += '%';
            format.remove_prefix(2);
            continue;
        }
        const Directive directive = directive_at(format);
        if (directive.written.empty()) {
            out += format.front();
            format.remove_prefix(1);
            continue;
        }
        if (used < arguments.size() && arguments[used]->index() != 0)
            out += fitted(shown(*arguments[used++], directive.written), directive);
        else
            out += directive.written;
        format.remove_prefix(directive.written.size());
    }
}
