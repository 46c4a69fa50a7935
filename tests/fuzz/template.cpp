// The template engine: no page over its size, nothing on it that neither template nor getters hold,
// and no failure but the getters' own.
#include "framework/parser.h"

constexpr char kValue = '\1';  // all that the getters give; no template below holds it
constexpr KeyGetter kKeys[] = {
    {"v", [](ValueText& value, LongText&, int&) { return (value = "\1\1\1", 0); }},
    {"text", [](ValueText&, LongText& text, int&) { return (text.emplace(20'000, kValue), 0); }},
    {"bad", [](ValueText& value, LongText&, int& error) { return (value = "x", error = 7); }}};
constexpr ArrayFun kLists[] = {
    {"l", [](LongText& text, int&) { return (text.emplace(5'000, kValue), 0); }},
    {"bad", [](LongText&, int& error) { return error = 8; }}};

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    std::string text(data, size);
    std::erase(text, kValue);
    auto [page, error] = expand_template(text, kKeys, kLists, "", nullptr);
    if (page.size() >= kPageSize) __builtin_trap();
    if (error && *error != 2 && *error != 7 && *error != 8) __builtin_trap();
    // An unended list marker gets a "#", and the end of the file reads as 0xFF.
    std::erase_if(page, [](char c) { return c == kValue || c == '#' || c == '\xff'; });
    std::size_t at = 0;
    for (const char c : page) {
        at = text.find(c, at);
        if (at++ == text.npos) __builtin_trap();
    }
    return 0;
}
