#include "framework/page_data.h"

#include <algorithm>

#include "base/failures.h"
#include "base/journal.h"
#include "base/json.h"
#include "framework/answer.h"
#include "framework/msgfile.h"

namespace {

constexpr std::string_view kOption = "<option>";
constexpr std::string_view kCell = "<td nowrap>";
constexpr std::string_view kCellEnd = "</td>";

// Parts of a JSON array or object, which separates them.
class Members {
public:
    void add(std::string_view json) {
        if (!text_.empty()) text_ += ',';
        text_ += json;
    }
    void add(std::string_view name, std::string_view json) {
        add(json_string(name));
        text_.append(":").append(json);
    }
    [[nodiscard]] bool empty() const { return text_.empty(); }
    void add(std::string_view name, unsigned number) { add(name, std::to_string(number)); }
    [[nodiscard]] std::string between(std::string_view brackets) const {
        std::string json(brackets.substr(0, 1));
        return json.append(text_).append(brackets.substr(1));
    }

private:
    std::string text_;
};

std::string_view take_until(std::string_view& text, std::string_view end) {
    const std::string_view part = text.substr(0, text.find(end));
    text.remove_prefix(std::min(part.size() + end.size(), text.size()));
    return part;
}

std::string json_parts(std::string_view text, std::string_view separator) {
    Members items;
    while (!text.empty()) items.add(json_string(take_until(text, separator)));
    return items.between("[]");
}

std::string json_options(std::string_view text) {
    Members items;
    while (!text.empty()) {
        const std::string_view line = take_until(text, "\n");
        if (line.starts_with(kOption)) items.add(json_string(line.substr(kOption.size())));
    }
    return items.between("[]");
}

std::string json_rows(std::string_view text) {
    Members rows;
    Members cells;
    while (!text.empty()) {
        std::string_view line = take_until(text, "\n");
        if (line == "</tr>") {
            rows.add(cells.between("[]"));
            cells = {};
        } else if (line.starts_with(kCell) && line.ends_with(kCellEnd)) {
            line.remove_prefix(kCell.size());
            line.remove_suffix(kCellEnd.size());
            cells.add(json_string(line));
        }
    }
    return rows.between("[]");
}

std::string json_text(std::string_view text) {
    return json_string(text.substr(0, text.find_last_not_of('\n') + 1));
}

// The parts of a page as they are gathered.
struct Parts {
    Members values, secrets, lists, errors;

    // What a getter that failed has to say, if it has.
    void failed(std::string_view name, int error) {
        Message text;
        if (error != 0)
            GetErrMsgByIndex(error, text);
        else if (first_failure())
            tell(*first_failure(), text);
        if (!text.empty()) errors.add(name, json_text(text));
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
    if (!succeeds([&] { return row.generator(text, error); })) {
        parts.failed(row.name, error);
        text.reset();
    }
    parts.lists.add(row.name, json_items(text.value_or(""), row.shape));
}

void add_key(Parts& parts, const KeyGetter& row) {
    if (!row.getter) return;
    if (row.is_secret) {
        parts.values.add(row.key, "null");
        return parts.secrets.add(json_string(row.key));
    }
    ValueText value;
    LongText text;
    int error = 0;
    const bool good = succeeds([&] { return row.getter(value, text, error); });
    if (!good) parts.failed(row.key, error);
    const std::string_view shown = !good ? "" : text ? std::string_view(*text) : value.view();
    if (row.shape != Shape::text)
        parts.lists.add(row.key, json_items(shown, row.shape));
    else
        parts.values.add(row.key, good ? json_text(shown) : "null");
}

}  // namespace

std::string json_items(std::string_view text, Shape shape) {
    switch (shape) {
        case Shape::options:
            return json_options(text);
        case Shape::rows:
            return json_rows(text);
        case Shape::broken_lines:
            return json_parts(text, "<BR>");
        case Shape::parts:
            return json_parts(text, std::string_view("", 1));
        default:
            return json_parts(text, "\n");
    }
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
    const std::string told = json_text(message && *message ? message : standing_message());
    Members all;
    if (!post_outcome.status.empty()) {
        all.add("accepted", post_outcome.accepted ? "true" : "false");
        if (own_change())
            all.add("change", own_change());
        else
            all.add("change", "null");
    }
    all.add(post_outcome.accepted ? "notice" : "message", told);
    all.add("page", json_string(page));
    all.add("seen", newest_change());
    all.add("values", parts.values.between("{}"));
    all.add("secret", parts.secrets.between("[]"));
    all.add("lists", parts.lists.between("{}"));
    if (!parts.errors.empty()) all.add("errors", parts.errors.between("{}"));
    std::string json = all.between("{}");
    json.pop_back();
    json += post_outcome.members;
    if (further_members) json += further_members(page);
    answer_data(post_outcome.status, "", json += '}');
    return 0;
}
