// The template engine: a page is a file of the working directory in which "@key#" becomes a value
// and "//@list#" a block of generated text, escaped when the marker names a filter ("@key|html#").
// docs/templates.md describes the markup.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "framework/cgi-lib.h"

// A finished page has at most one byte less than this.
inline constexpr std::size_t kPageSize = 51200;
// Characters of a marker that are collected before it counts as plain text.
inline constexpr std::size_t kMarkerSize = 128;

// What a value getter fills: a short value, or a text of any length that is shown in its place, and
// on failure the number of the message that explains it. 0 for success.
using ValueText = Text<128>;
using LongText = std::optional<std::string>;
using ValueGetter = int (*)(ValueText& value, LongText& text, int& error);

// What generates the text of a list; the same results.
using ListGetter = int (*)(LongText& text, int& error);

// Stores one posted field: the value, the phase (0 check, 1 set), the message to fill on refusal,
// and the page's record. 0 accepted, anything else refused.
template <class Record>
using FieldSaver = int (*)(const char* value, int mode, Message& message, Record& record);

// What the text of a getter or list is made of, so that it can be told as data, too: a text, or the
// items of a list.
enum class Shape : unsigned char {
    text,
    lines,         // each with its line feed
    broken_lines,  // with "<BR>" between them
    options,       // "<option>item" in a line of its own
    rows,          // of a table: "<tr>", "<td nowrap>cell</td>" and "</tr>", each in its line
    parts,         // each with a NUL behind it: what is made for data alone
};

// A row of a page's key table. Either function may be missing; what has neither is a field that one
// of the page's buttons takes. A secret is shown neither as it is stored nor as it was typed.
template <class Record>
struct KeyFun {
    std::string_view key;
    ValueGetter getter;
    FieldSaver<Record> saver;
    bool is_secret = false;
    Shape shape = Shape::text;
};

// A row of a page's list table.
struct ArrayFun {
    std::string_view name;
    ListGetter generator;
    Shape shape = Shape::lines;
};

// What the engine needs of a row of a key table.
struct KeyGetter {
    std::string_view key;
    ValueGetter getter;
    bool is_taken = false;  // a post may have a field of that name
    bool is_secret = false;
    Shape shape = Shape::text;
};

// What a page consists of besides its template.
struct PageTables {
    std::vector<KeyGetter> keys;
    std::span<const ArrayFun> lists = {};
};

// The warning that a page's code wants shown when there is no other message: 52, 55, 56, 58 or 0.
extern int warn_no;

// Keys that mean the same on every page, whatever its own table says or a form has posted. Those of
// a higher floor are made known once, before the first page is rendered.
struct CommonKey {
    std::string_view name;
    std::string (*text)();
};
void know_on_every_page(std::span<const CommonKey> keys);
std::span<const CommonKey> keys_of_every_page();

// What a page has to tell when it is given nothing to tell: the first failure, or the warning.
std::string standing_message();

// Renders the template to standard output, behind its HTTP header, or, where the request wants
// data, what the getters give without it (page_data.h). `message` may be null. An
// empty one is none either, except that a marker that fails then does not tell why. `form` may be
// null, else its fields fill the keys that no getter fills. Returns 0. A missing template, a page
// over the limit and a marker that fails at the very end of the template end the process with the
// fatal error page.
int render_page(const char* path, std::span<const KeyGetter> keys, std::span<const ArrayFun> arrays,
                const char* message, const FormList* form);
inline int render_page(const char* path, const PageTables& tables, const char* message,
                       const FormList* form) {
    return render_page(path, tables.keys, tables.lists, message, form);
}

template <class Record>
constexpr KeyGetter getter_of(const KeyFun<Record>& row) {
    return {row.key, row.getter, row.saver || !row.getter, row.is_secret, row.shape};
}

// In a preview (overlay.h) render_page writes nothing: another page will answer. This is the
// message that the last page would have shown.
inline std::string unwritten_message;

// The getters of a key table.
template <class Record, std::size_t N>
constexpr std::array<KeyGetter, N> getters_of(const std::array<KeyFun<Record>, N>& keys) {
    std::array<KeyGetter, N> getters;
    for (std::size_t i = 0; i < N; ++i) getters[i] = getter_of(keys[i]);
    return getters;
}

// The same of a table of any record: `row` gives its row of a number.
std::vector<KeyGetter> collect_getters(const void* rows, std::size_t size,
                                       KeyGetter (*row)(const void* rows, std::size_t number));
template <class Record, std::size_t N>
std::vector<KeyGetter> rows_of(const std::array<KeyFun<Record>, N>& keys) {
    return collect_getters(keys.data(), N, [](const void* rows, std::size_t number) {
        return getter_of(static_cast<const KeyFun<Record>*>(rows)[number]);
    });
}

template <class Record, std::size_t N>
int html_parser(const char* path, const std::array<KeyFun<Record>, N>& keys,
                std::span<const ArrayFun> arrays, const char* message, const FormList* form) {
    return render_page(path, rows_of(keys), arrays, message, form);
}

// For getters and generators: the characters that the page has left for the text of the marker that
// is being resolved, and those that a text takes there, escaped by the marker's filter. Room is
// kept for the rest of the template, the posted fields that it echoes, the message, and the longest
// short value for each getter to come; none for lists to come, so that of several parallel lists
// the first divides the room. A page that is rendered as data has room for all.
std::size_t room_on_page();
std::size_t size_on_page(std::string_view text);

// The first row of the current page's key or list table with that name, or -1.
int GetKeyFunIndex(std::string_view name);
int GetArrayFunIndex(std::string_view name);
// The text of a list of the current page; without one of that name no text and 0.
int GetArrayItem(std::string_view name, LongText& text, int& error);

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

// The finished page, or the number of the message that says why there is none.
struct Expansion {
    std::string page;
    std::optional<int> error;
};
Expansion expand_template(std::string_view text, std::span<const KeyGetter> keys,
                          std::span<const ArrayFun> arrays, const char* message,
                          const FormList* form);
