// The template engine: no page over its size, and no failure but the getters' own. Its filters: the
// text as it was to who reads the page, and no markup but their own.
#include "base/escape.h"
#include "framework/parser.h"
#include "fuzz.h"

constexpr KeyGetter kKeys[] = {
    {"v", [](ValueText& value, LongText&, int&) { return (value = "value", 0); }},
    {"text", [](ValueText&, LongText& text, int&) { return (text.emplace(20'000, 'v'), 0); }},
    {"bad", [](ValueText& value, LongText&, int& error) { return (value = "x", error = 7); }}};
constexpr ArrayFun kLists[] = {
    {"l", [](LongText& text, int&) { return (text.emplace(5'000, 'v'), 0); }},
    {"bad", [](LongText&, int& error) { return error = 8; }}};
constexpr std::string_view kEscaped[][2] = {
    {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&#39;", "'"}, {"&amp;", "&"}};

static void replace_all(std::string& text, std::string_view what, std::string_view with) {
    for (auto at = text.find(what); at != text.npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
}

static void check_filter(std::string_view text, std::string (*escape)(std::string_view),
                         std::initializer_list<std::string_view> own_markup) {
    std::string page = escape(text);
    std::string read = page;
    for (const auto& [escaped, character] : kEscaped) replace_all(read, escaped, character);
    expect(read == text);
    for (const std::string_view markup : own_markup) replace_all(page, markup, "");
    expect(page.find_first_of("<>\"'") == page.npos);
}

void check(std::string_view input) {
    check_filter(input, escape_html, {});
    check_filter(input, escape_options, {"<option>"});
    check_filter(input, escape_rows, {"<tr>", "<td nowrap>", "</td>", "</tr>", "<BR>"});
    const Expansion result = expand_template(input, kKeys, kLists, "", nullptr);
    expect(result.page.size() < kPageSize);
    const int error = result.error.value_or(2);
    expect(error == 2 || error == 7 || error == 8);
}
