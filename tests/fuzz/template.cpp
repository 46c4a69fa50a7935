// The template engine: no page over its size, and no failure but the getters' own. Its filters: the
// text as it was to who reads the page, and no markup but their own.
#include "framework/escape.h"
#include "framework/parser.h"

constexpr KeyGetter kKeys[] = {
    {"v", [](ValueText& value, LongText&, int&) { return (value = "value", 0); }},
    {"text", [](ValueText&, LongText& text, int&) { return (text.emplace(20'000, 'v'), 0); }},
    {"bad", [](ValueText& value, LongText&, int& error) { return (value = "x", error = 7); }}};
constexpr ArrayFun kLists[] = {
    {"l", [](LongText& text, int&) { return (text.emplace(5'000, 'v'), 0); }},
    {"bad", [](LongText&, int& error) { return error = 8; }}};

void replace_all(std::string& text, std::string_view what, std::string_view with) {
    for (auto at = text.find(what); at != text.npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
}

std::string unescaped(std::string text) {
    replace_all(text, "&lt;", "<");
    replace_all(text, "&gt;", ">");
    replace_all(text, "&quot;", "\"");
    replace_all(text, "&#39;", "'");
    replace_all(text, "&amp;", "&");
    return text;
}

void check_filter(std::string_view text, std::string (*escape)(std::string_view),
                  std::initializer_list<std::string_view> own_markup) {
    std::string page = escape(text);
    if (unescaped(page) != text || escaped_size(text) < page.size()) __builtin_trap();
    for (const std::string_view markup : own_markup) replace_all(page, markup, "");
    if (page.find_first_of("<>\"'") != page.npos) __builtin_trap();
}

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    const std::string_view text(data, size);
    check_filter(text, escape_html, {});
    check_filter(text, escape_options, {"<option>"});
    check_filter(text, escape_rows, {"<tr>", "<td nowrap>", "</td>", "</tr>", "<BR>"});
    const Expansion result = expand_template(text, kKeys, kLists, "", nullptr);
    if (result.page.size() >= kPageSize) __builtin_trap();
    if (result.error && *result.error != 2 && *result.error != 7 && *result.error != 8)
        __builtin_trap();
    return 0;
}
