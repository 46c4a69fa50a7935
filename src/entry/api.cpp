#include "entry/api.h"

#include <array>
#include <string>

#include "base/json.h"
#include "entry/page_table.h"
#include "framework/answer.h"
#include "framework/parser.h"

namespace {

// A group of the keys of a page.
struct Group {
    std::string_view name;
    bool (*holds)(const CgiPage& page, const KeyGetter& key);
};

bool is_readable(const CgiPage&, const KeyGetter& key) { return key.getter && !key.is_secret; }
bool is_writable(const CgiPage& page, const KeyGetter& key) { return page.setter && key.is_taken; }
bool is_secret(const CgiPage&, const KeyGetter& key) { return key.is_secret; }
bool is_list(const CgiPage&, const KeyGetter& key) { return key.shape != Shape::text; }

constexpr std::array kGroups = std::to_array<Group>({
    {"readable", is_readable},
    {"writable", is_writable},
    {"secret", is_secret},
    {"lists", is_list},
});

PageTables what_it_has(const CgiPage& page) { return page.tables ? page.tables() : PageTables{}; }

// The names of a group as they are written: each with what stands around it, those of lists last.
template <class Write>
void write_names(const CgiPage& page, const Group& group, Write write) {
    const PageTables tables = what_it_has(page);
    for (const KeyGetter& key : tables.keys)
        if (group.holds(page, key)) write(key.key);
    if (group.holds == is_readable || group.holds == is_list)
        for (const ArrayFun& list : tables.lists) write(list.name);
}

std::string json_of(const CgiPage& page) {
    std::string json = "{\"page\":" + json_string(page.name);
    for (const Group& group : kGroups) {
        json += "," + json_string(group.name) + ":[";
        write_names(page, group, [&](std::string_view name) {
            if (!json.ends_with('[')) json += ',';
            json += json_string(name);
        });
        json += ']';
    }
    return json += '}';
}

std::string json_of_all() {
    std::string json = "{\"pages\":[";
    for (const CgiPage& page : CgiTab)
        json.append(json.ends_with('[') ? "" : ",\n").append(json_of(page));
    json += "],\n\"views\":[";
    for (const std::string_view view : plain_view_names())
        json.append(json.ends_with('[') ? "" : ",").append(json_string(view));
    return json += "]}";
}

int get_text(LongText& text, int&) {
    text.emplace();
    for (const CgiPage& page : CgiTab) {
        text->append(page.name).append("\n");
        for (const Group& group : kGroups) {
            text->append("  ").append(group.name).append(":");
            write_names(page, group,
                        [&](std::string_view name) { text->append(" ").append(name); });
            *text += '\n';
        }
    }
    return 0;
}

constexpr std::array kLists = std::to_array<ArrayFun>({{"api_pages", get_text}});

}  // namespace

int show_api(const FormList* form) {
    if (!wants_data()) return render_page("api.htm", {}, kLists, nullptr, form);
    answer_data("", "", json_of_all());
    return 0;
}
