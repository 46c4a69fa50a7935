// Messages and quoting: what is escaped comes back, and no argument is read as a format.
#include "base/format.h"
#include "base/quote.h"
#include "base/text.h"
#include "fuzz.h"

void check(std::string_view input) {
    std::string escaped;
    for (const char c : input) escaped += std::string(c == '%' ? 2 : 1, c);
    const std::string text(input);
    expect(format_text(escaped) == text && format_text("%s", input) == text);
    expect(format_text(escaped + "%d%u%s", input, -1L, input) == text + text + "4294967295" + text);
    Text<128> message;
    copy_text(message, format_text(input, input, 5L, input));
    expect(shell_unquoted_text(shell_quoted_text(input)) == text);
    if (is_harmless(input)) expect(shell_word(input) == text && !shell_character(input));
}
