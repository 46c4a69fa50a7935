#include "filter/site_list.h"

#include <algorithm>
#include <optional>

#include "base/files.h"
#include "base/paths.h"
#include "base/replacement.h"
#include "base/text.h"
#include "framework/entries.h"
#include "framework/settings.h"
#include "framework/upload.h"

namespace {

constexpr std::string_view SiteHead = "http://";
constexpr std::string_view separator = " \r\n/?";

bool folds_to(char c, char lower) { return lower_case(c) == lower; }

}  // namespace

std::string SiteList::path() const {
    Text<kSettingLine + 1> path;
    GetPrivateProfileString(FilterConfF, key, standard_path, path.buffer());
    return path.c_str();
}

int SiteList::get(int first, int maximum, std::span<char> out) const {
    return GetEntries(path(), first, maximum, out);
}

std::size_t SiteList::count(std::size_t most) const try {
    LineReader in(path(), kSettingLine);
    std::size_t count = 0;
    while (in.is_open() && count < most && in.next()) count += !is_comment(in.text());
    return count;
} catch (const Unreadable&) {
    return 0;
}

int SiteList::add(std::string_view entry) const { return AppendEntry(path(), entry); }

int SiteList::del(std::span<const std::string_view> entries) const {
    return RemoveEntries(path(), entries);
}

int SiteList::del_all() const { return RemoveAllEntries(path()); }

std::vector<std::string_view> sites_in(std::string_view text) {
    std::vector<std::string_view> sites;
    // An octet that no name has: here text ends.
    text = text.substr(0, text.find('\xff'));
    for (;;) {
        const auto head =
            std::search(text.begin(), text.end(), SiteHead.begin(), SiteHead.end(), folds_to);
        if (head == text.end()) return sites;
        text.remove_prefix(static_cast<std::size_t>(head - text.begin()) + SiteHead.size());
        std::string_view site = text.substr(0, text.find_first_of(separator));
        text.remove_prefix(site.size());
        site = site.substr(0, site.find('\0'));
        if (!site.empty()) sites.push_back(site);
    }
}

int import_site(const char* path, const SiteList& list, std::size_t& added) try {
    added = 0;
    const std::optional<std::string> upload = usable_upload(path);
    const std::optional<std::string> text = upload ? read_file(*upload) : std::nullopt;
    if (!text) return kImportUnreadable;
    const int result = AppendEntries(list.path(), sites_in(*text), added);
    told(remove_file(*upload));
    return result == 0 ? 0 : kImportNotAdded;
} catch (const Unreadable&) {
    return kImportUnreadable;
}
