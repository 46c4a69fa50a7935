// Two pages, one for the sites that the content filter bans and one for those that it allows, each
// to look at its list, to delete entries or all of them, to add a site by name or address and to
// import the sites of a file, such as a browser's bookmarks. The proxy reads the list again after
// every change.
#include "filter/site_pages.h"

#include <new>
#include <string>
#include <vector>

#include "base/log.h"
#include "filter/site_list.h"
#include "framework/msgfile.h"
#include "framework/page_room.h"

namespace {

constexpr std::size_t kOptionsSize = 20480;  // characters
constexpr std::size_t kLongestShown = 126;   // characters of an entry

struct SitePage {
    const char* name;
    const SiteList& list;
    std::string_view key;         // marker of the options
    std::string_view list_field;  // the selected ones
    int unreadable;               // messages
    int not_deleted;
    // Diagnostics: the list is cut, an addition or an import failed (none where empty).
    std::string_view too_many;
    std::string_view add_failed;
    std::string_view import_failed;
};

constexpr SitePage kAllowPage = {
    .name = "sites_allow.htm",
    .list = kAllowList,
    .key = "allowed_site_list",
    .list_field = "allowed_list",
    .unreadable = Msg::AllowedUnreadable,
    .not_deleted = Msg::AllowedNotDeleted,
    .too_many = "get_allowlist: too many list",
    .add_failed = "add_allow return=%d",
    .import_failed = "import_site return=%d",
};

constexpr SitePage kBanPage = {
    .name = "sites_ban.htm",
    .list = kBanList,
    .key = "banned_site_list",
    .list_field = "banned_list",
    .unreadable = Msg::BannedUnreadable,
    .not_deleted = Msg::BannedNotDeleted,
    .too_many = "get_banlist: too many list",
    .add_failed = "",
    .import_failed = "",
};

std::size_t shown = 0;  // entries on the page

// An entry that is too long to be shown ends the options.
template <const SitePage& Page>
int get_options(ValueText&, LongText& text, int& error) try {
    std::string entries(kOptionsSize, '\0');  // more than that cannot be shown
    const int count = Page.list.get(0, static_cast<int>(kOptionsSize), entries);
    if (count < 0) {
        error = Page.unreadable;
        return count;
    }
    text.emplace();
    ListRoom room;
    std::string_view rest = entries;
    for (shown = 0; shown < static_cast<std::size_t>(count); ++shown) {
        const std::string_view entry = rest.substr(0, rest.find('\0'));
        if (entry.size() > kLongestShown) break;
        rest.remove_prefix(entry.size() + 1);
        const std::string option = std::string("<option>").append(entry).append("\n");
        if (text->size() + option.size() > kOptionsSize || !room.take(option)) {
            log_line(Page.too_many);
            break;
        }
        text->append(option);
    }
    return 0;
} catch (const std::bad_alloc&) {
    error = Msg::NoMemory;
    return 1;
}

template <const SitePage& Page>
int get_left_out(ValueText& value, LongText&, int&) {
    return show(value, left_out_of_lines(shown, Page.list.count(kMostCounted + 1), "sites"));
}

template <const SitePage& Page>
constexpr std::array key_fun_tab = std::to_array<KeyFun<NoRecord>>({
    {Page.key, get_options<Page>, nullptr, false, Shape::options},
    {"sites_left_out", get_left_out<Page>, nullptr},
    {Page.list_field, nullptr, nullptr},
    {"new_url", nullptr, nullptr},
    {"ip_1", nullptr, nullptr},
    {"ip_2", nullptr, nullptr},
    {"ip_3", nullptr, nullptr},
    {"ip_4", nullptr, nullptr},
    {"upload_file", nullptr, nullptr},
});

// ---- what the buttons do ----

// Puts the message that explains a failure; returns the result.
int explained(int result, int number, Message& message) {
    if (result != 0) GetErrMsgByIndex(number, message);
    return result;
}

int del_selected(const SitePage& page, const FormList* form, Message& message) {
    std::vector<const char*> selected;
    find_val_multi(form, page.list_field, selected);
    std::erase(selected, nullptr);
    const std::vector<std::string_view> entries(selected.begin(), selected.end());
    return explained(page.list.del(entries), page.not_deleted, message);
}

int del_all(const SitePage& page, const FormList*, Message& message) {
    return explained(page.list.del_all(), page.not_deleted, message);
}

// Both are taken as typed.
int add_url(const SitePage& page, const FormList* form, Message& message) {
    const char* url = find_val(form, "new_url");
    std::string site = url ? url : "";
    if (site.empty()) {
        const char* dot = "";
        for (const char* field : {"ip_1", "ip_2", "ip_3", "ip_4"}) {
            const char* octet = find_val(form, field);
            if (!octet) return refuse(Msg::BadAddress, message);
            site.append(dot).append(octet);
            dot = ".";
        }
    }
    const int result = page.list.add(site);
    if (result != 0) log_line(page.add_failed, long{result});
    return explained(result, Msg::SiteNotAdded, message);
}

int import_file(const SitePage& page, const FormList* form, Message& message) {
    std::size_t added = 0;
    const int result = import_site(find_val(form, "upload_file"), page.list, added);
    if (result != 0)
        log_line(page.import_failed, long{result});
    else
        GetErrMsgByIndex(Msg::SitesImported, message, std::to_string(added));
    return explained(result, Msg::SiteNotAdded, message);
}

struct Button {
    std::string_view todo;
    int (*press)(const SitePage& page, const FormList* form, Message& message);
};

constexpr std::array<Button, 4> kButtons = {{
    {"del_selected", del_selected},
    {"del_all", del_all},
    {"add_url", add_url},
    {"import_file", import_file},
}};

template <const SitePage& Page>
PageTables site_tables() {
    return {rows_of(key_fun_tab<Page>), {}};
}

template <const SitePage& Page>
int get_sites(const char* message, const FormList* form) {
    return render_page(Page.name, site_tables<Page>(), message, form);
}

int set_sites(const SitePage& page, const FormList* form, const Actions& actions, int mode,
              Message& message) {
    // A button stands alone; there is nothing to check before it is pressed.
    if (mode == kCheck) return 0;
    for (const Button& button : kButtons) {
        if (!field_is(form, "todo", button.todo)) continue;
        const int refused = button.press(page, form, message);
        if (refused) return refused;
        actions.add(kReconfigFilter);
    }
    return 0;
}

}  // namespace

PageTables sites_allow_tables() { return site_tables<kAllowPage>(); }
PageTables sites_ban_tables() { return site_tables<kBanPage>(); }

int get_sites_allow(const char* message, const FormList* form) {
    return get_sites<kAllowPage>(message, form);
}

int get_sites_ban(const char* message, const FormList* form) {
    return get_sites<kBanPage>(message, form);
}

int set_sites_allow(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                    int mode, Message& message) {
    return set_sites(kAllowPage, form, {heads, queued, tails}, mode, message);
}

int set_sites_ban(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                  int mode, Message& message) {
    return set_sites(kBanPage, form, {heads, queued, tails}, mode, message);
}
