// Messages and quoting: what is escaped comes back, and no argument is read as a format.
#include "framework/format.h"
#include "framework/quote.h"
#include "framework/text.h"

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    const std::string_view text(data, size);
    std::string escaped;
    for (const char c : text) escaped += std::string(c == '%' ? 2 : 1, c);
    if (format_text(escaped) != text || format_text("%s", text) != text) __builtin_trap();
    if (format_text(escaped + "%d%u%s", text, -1L, text) !=
        std::string(text) + std::string(text) + "4294967295" + std::string(text))
        __builtin_trap();
    Text<128> message;
    copy_text(message, format_text(text, text, 5L, text));
    if (shell_unquoted_text(shell_quoted_text(text)) != text) __builtin_trap();
    if (is_harmless(text) && (shell_word(text) != text || shell_character(text))) __builtin_trap();
    return 0;
}
