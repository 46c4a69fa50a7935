// Messages and quoting: what is escaped or quoted comes back, nothing is quoted without need, and
// no argument is read as a format.
#include "base/format.h"
#include "base/quote.h"
#include "base/text.h"
#include "fuzz.h"

// What pppd takes for the first word of a file.
std::string word_for_pppd(std::string_view text) {
    std::string word;
    for (char quote = 0; !text.empty(); text.remove_prefix(1)) {
        const char c = text[0];
        const bool is_quote = c == '"' || c == '\'';
        if (c == '\\' && text.size() > 1)
            word += text[1], text.remove_prefix(1);
        else if (is_quote && (!quote || quote == c))
            quote = quote ? '\0' : c;
        else if (!quote && std::string_view(" \t\n\v\f\r#\\").find(c) != std::string_view::npos)
            break;
        else
            word += c;
    }
    return word;
}

void check(std::string_view input) {
    std::string escaped;
    for (const char c : input) escaped += std::string(c == '%' ? 2 : 1, c);
    const std::string text(input);
    expect(format_text(escaped) == text && format_text("%s", input) == text);
    expect(format_text(escaped + "%d%u%s", input, -1L, input) == text + text + "4294967295" + text);
    Text<128> message;
    message = format_text(input, input, 5L, input);
    expect(shell_unquoted_text(shell_quoted_text(input)) == text);
    if (is_harmless(input)) expect(shell_word(input) == text && !shell_character(input));
    expect(word_for_pppd(pppd_word(input)) == text);
    expect((pppd_word(input) == text) == (!text.empty() && word_for_pppd(input) == text));
}
