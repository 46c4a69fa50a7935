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

void write_page(JsonText& json, const CgiPage& page) {
    json.begin('{');
    json.member("page", page.name);
    for (const Group& group : kGroups) {
        json.name_and(group.name).begin('[');
        write_names(page, group, [&](std::string_view name) { json.text(name); });
        json.end(']');
    }
    json.end('}');
}

void write_all(JsonText& json) {
    json.begin('{');
    json.name_and("pages").begin('[');
    for (const CgiPage& page : CgiTab) write_page(json, page);
    json.end(']');
    json.name_and("views").begin('[');
    for (const std::string_view view : plain_view_names()) json.text(view);
    json.end(']');
    json.end('}');
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
    JsonText json;
    write_all(json);
    answer_data("", "", json.so_far());
    return 0;
}
