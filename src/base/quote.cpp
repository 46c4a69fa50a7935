#include "base/quote.h"

namespace {

constexpr std::string_view kHarmless =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_@:/+,=%";
constexpr std::string_view kShellCharacters = " ;&|<>()$`\\\"'*?[]{}~#!";

// What a reader misreads somewhere in a word that stands bare.
constexpr std::string_view kMisreadByShell = " \t\n;&|<>()$`\\\"'*?[{~#";
constexpr std::string_view kMisreadByPppd = " \t\n\v\f\r\"'#\\";

bool holds_any(std::string_view text, std::string_view characters) {
    return text.find_first_of(characters) != std::string_view::npos;
}

std::string with_backslash_before(std::string_view text, std::string_view special) {
    std::string out;
    for (const char c : text) {
        if (special.find(c) != std::string_view::npos) out += '\\';
        out += c;
    }
    return out;
}

}  // namespace

bool is_harmless(std::string_view text) {
    return text.find_first_not_of(kHarmless) == std::string_view::npos;
}

char shell_character(std::string_view text) {
    const std::size_t at = text.find_first_of(kShellCharacters);
    return at == std::string_view::npos ? '\0' : text[at];
}

std::string shell_word(std::string_view text) {
    if (!holds_any(text, kMisreadByShell)) return std::string(text);
    std::string out = "'";
    for (const char c : text) {
        if (c == '\'')
            out += "'\\''";
        else
            out += c;
    }
    return out + "'";
}

std::string shell_quoted_text(std::string_view text) { return with_backslash_before(text, "\\$`"); }

std::string shell_unquoted_text(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escapes = text[i] == '\\' && i + 1 < text.size() &&
                             std::string_view("\\$`").find(text[i + 1]) != std::string_view::npos;
        if (escapes) ++i;
        out += text[i];
    }
    return out;
}

std::string pppd_word(std::string_view text) {
    if (!text.empty() && !holds_any(text, kMisreadByPppd)) return std::string(text);
    return "\"" + with_backslash_before(text, "\\\"") + "\"";
}
