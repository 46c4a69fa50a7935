// What a page is to the driver, and the walk over its fields that page setters share.
#pragma once

#include <algorithm>
#include <array>
#include <initializer_list>
#include <span>
#include <vector>

#include "base/failures.h"
#include "base/text.h"
#include "framework/action_queue.h"
#include "framework/cgi-lib.h"
#include "framework/parser.h"

// The phases of a setter.
enum Mode : int { kCheck = 0, kSet = 1 };

// Renders the page: `message` (may be null) is shown at the message marker, `form` (may be null)
// fills keys without a getter. 0 for success.
using PageGetter = int (*)(const char* message, const FormList* form);

// Checks (mode 0) or stores (mode 1) the page's fields and queues what makes them take effect. 0
// accepted; anything else refused, with a text in `message` or, when that stays empty, the
// driver's.
using PageSetter = int (*)(const FormList* form, ProcHeads* heads, ProcFlags* queued,
                           ProcTails* tails, int mode, Message& message);

struct CgiPage {
    const char* name;  // the template file, and the page's identity in form fields
    PageGetter getter;
    PageSetter setter;  // may be null
    PageTables (*tables)() =
        nullptr;  // what the page shows and takes, to describe it; changes nothing
};

// A key table made of several: families of rows stand in more than one page's table.
template <class Record, std::size_t... N>
constexpr auto join_rows(const std::array<KeyFun<Record>, N>&... parts) {
    std::array<KeyFun<Record>, (N + ...)> rows{};
    auto next = rows.begin();
    ((next = std::copy(parts.begin(), parts.end(), next)), ...);
    return rows;
}

// The getters of several families, for a page that shows them all.
inline std::vector<KeyGetter> join_getters(
    std::initializer_list<std::span<const KeyGetter>> families) {
    std::vector<KeyGetter> all;
    std::size_t size = 0;
    for (const auto family : families) size += family.size();
    all.reserve(size);
    for (const auto family : families) all.insert(all.end(), family.begin(), family.end());
    return all;
}

// Keys put together at compile time: joined<"vs_web", "_enable"> is "vs_web_enable".
template <std::size_t N>
struct Literal {
    std::array<char, N> text{};
    consteval Literal() = default;
    consteval Literal(const char (&from)[N]) { std::copy_n(from, N, text.begin()); }  // NOLINT
};
template <Literal First, Literal Second>
consteval auto join_literals() {
    Literal<First.text.size() + Second.text.size() - 1> all;
    const auto middle = std::copy_n(First.text.begin(), First.text.size() - 1, all.text.begin());
    std::copy_n(Second.text.begin(), Second.text.size(), middle);
    return all;
}
template <Literal First, Literal Second>
inline constexpr auto joined_literal = join_literals<First, Second>();
template <Literal First, Literal Second>
inline constexpr std::string_view joined = joined_literal<First, Second>.text.data();

// A key table without its getters: so a page shows what was posted, or nothing. A secret keeps the
// getter that shows nothing.
template <class Record, std::size_t N>
constexpr auto without_getters(std::array<KeyFun<Record>, N> rows) {
    for (KeyFun<Record>& row : rows)
        if (!row.is_secret) row.getter = nullptr;
    return rows;
}

// How a form has a switch.
inline constexpr std::string_view kChecked = "checked";
inline constexpr std::string_view kUnchecked = "unchecked";

// How getters show a text and a switch.
inline int show(ValueText& value, std::string_view text) {
    value = text;
    return 0;
}
inline int show_switch(ValueText& value, bool on) {
    return show(value, on ? kChecked : kUnchecked);
}

// How savers read a switch. What is neither "checked" nor "unchecked" leaves some switches off and
// turns others on, each as it always has: a form of one's own may post either.
constexpr bool is_checked(std::string_view value) { return value == kChecked; }
constexpr bool is_not_unchecked(std::string_view value) { return value != kUnchecked; }

// A page whose getters and savers share no record.
struct NoRecord {};

// Whether a secret that is posted empty means the stored one: pages do not show it, so they cannot
// send it back. A box that removes it posts another value, which sorts before this one.
inline bool keeps_secrets(const FormList* form) { return field_is(form, "keep_secrets", "yes"); }

// Which posted fields count as present.
enum class Present { also_empty, only_filled };

// Calls the saver of every row whose field is present in the form, in table order, until one
// refuses. Returns that saver's result, else 0; `any` tells whether a saver was called.
template <class Record, std::size_t N>
int save_fields(const std::array<KeyFun<Record>, N>& keys, const FormList* form, Present present,
                int mode, Message& message, Record& record, bool& any) {
    any = false;
    for (const KeyFun<Record>& row : keys) {
        if (!row.saver) continue;
        const char* value = find_val(form, row.key);
        if (!value || (present == Present::only_filled && !*value)) continue;
        if (row.is_secret && !*value && keeps_secrets(form)) continue;
        any = true;
        const int refused = row.saver(value, mode, message, record);
        if (refused) return refused;
    }
    return 0;
}

// The same for a page whose record itself tells whether a field changed it.
template <class Record, std::size_t N>
int save_fields(const std::array<KeyFun<Record>, N>& keys, const FormList* form, Present present,
                int mode, Message& message, Record& record) {
    bool any = false;
    return save_fields(keys, form, present, mode, message, record, any);
}

// Gathers what a page shows before it is rendered. What cannot be read stays empty; the page tells
// which file that was.
template <class Gather>
void gather(Gather read) try {
    read();
} catch (const Unreadable&) {  // noted where it was thrown
}
