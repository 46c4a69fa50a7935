#include "framework/page_data.h"

#include <algorithm>

#include "base/failures.h"
#include "base/journal.h"
#include "base/overlay.h"
#include "base/words.h"
#include "framework/answer.h"
#include "framework/msgfile.h"

namespace {

constexpr std::string_view kOption = "<option>";
constexpr std::string_view kCell = "<td nowrap>";
constexpr std::string_view kCellEnd = "</td>";

std::string_view take_until(std::string_view& text, std::string_view end) {
    const std::string_view part = text.substr(0, text.find(end));
    text.remove_prefix(std::min(part.size() + end.size(), text.size()));
    return part;
}

// One line of a table.
void write_row_line(JsonText& json, std::string_view line) {
    if (line == "<tr>") json.begin('[');
    if (line == "</tr>") json.end(']');
    if (!line.starts_with(kCell) || !line.ends_with(kCellEnd)) return;
    line.remove_prefix(kCell.size());
    line.remove_suffix(kCellEnd.size());
    json.text(line);
}

// The parts of a page as they are gathered.
struct Parts {
    JsonText values, secrets, lists, errors;

    // What a getter that failed has to say, if it has.
    void failed(std::string_view name, int error) {
        Message text;
        if (error != 0)
            GetErrMsgByIndex(error, text);
        else if (first_failure())
            tell(*first_failure(), text);
        if (!text.empty()) errors.member(name, without_line_end(text));
    }
};

template <class Getter>
bool succeeds(Getter getter) try {
    return getter() == 0;
} catch (const Unreadable&) {
    return false;
}

void add_list(Parts& parts, const ArrayFun& row) {
    LongText text;
    int error = 0;
    const bool good = succeeds([&] { return row.generator(text, error); });
    if (!good) parts.failed(row.name, error);
    parts.lists.name(row.name);
    write_items(parts.lists, good && text ? *text : std::string_view(), row.shape);
}

void add_key(Parts& parts, const KeyGetter& row) {
    if (!row.getter) return;
    ValueText value;
    LongText text;
    int error = 0;
    const bool good = row.is_secret || succeeds([&] { return row.getter(value, text, error); });
    if (!good) parts.failed(row.key, error);
    const std::string_view shown = !good ? "" : text ? std::string_view(*text) : value.view();
    if (row.is_secret) parts.secrets.text(row.key);
    if (row.shape != Shape::text)
        write_items(parts.lists.name_and(row.key), shown, row.shape);
    else if (row.is_secret || !good)
        parts.values.name_and(row.key).plain("null");
    else
        parts.values.member(row.key, without_line_end(shown));
}

void add_part(JsonText& json, std::string_view name, std::string_view brackets,
              const JsonText& part) {
    json.name(name);
    json.begin(brackets[0]);
    if (!part.so_far().empty()) json.plain(part.so_far());
    json.end(brackets[1]);
}

}  // namespace

void write_items(JsonText& json, std::string_view text, Shape shape) {
    const std::string_view end = shape == Shape::broken_lines ? "<BR>"
                                 : shape == Shape::parts      ? std::string_view("\0", 1)
                                                              : "\n";
    json.begin('[');
    while (!text.empty()) {
        const std::string_view line = take_until(text, end);
        if (shape == Shape::rows)
            write_row_line(json, line);
        else if (shape != Shape::options)
            json.text(line);
        else if (line.starts_with(kOption))
            json.text(line.substr(kOption.size()));
    }
    json.end(']');
}

int render_data(const char* page, std::span<const KeyGetter> keys, std::span<const ArrayFun> lists,
                const char* message) {
    Parts parts;
    // Lists first: a value tells how much of one was left out.
    for (const ArrayFun& row : lists) add_list(parts, row);
    for (const KeyGetter& row : keys) add_key(parts, row);
    if (post_outcome.accepted && post_outcome.refused_after_all) {
        post_outcome.accepted = false;
        post_outcome.status = kRefused;
    }
    JsonText json;
    json.begin('{');
    if (!post_outcome.status.empty()) {
        json.name_and("accepted").plain(post_outcome.accepted ? "true" : "false");
        json.name("change");
        own_change() ? json.number(own_change()) : json.plain("null");
    }
    const std::string told = message && *message ? message : standing_message();
    if (in_preview()) {
        unwritten_message = told;
        return 0;
    }
    json.member(post_outcome.accepted ? "notice" : "message", without_line_end(told));
    json.member("page", page);
    json.name_and("seen").number(newest_change());
    for (const CommonKey& key : keys_of_every_page())
        if (const std::string text = key.text(); !text.empty()) json.member(key.name, text);
    add_part(json, "values", "{}", parts.values);
    add_part(json, "secret", "[]", parts.secrets);
    add_part(json, "lists", "{}", parts.lists);
    if (!parts.errors.so_far().empty()) add_part(json, "errors", "{}", parts.errors);
    if (!post_outcome.members.empty()) json.plain(post_outcome.members);
    if (further_members) further_members(json, page);
    json.end('}');
    answer_data(post_outcome.status, "", json.so_far());
    return 0;
}
