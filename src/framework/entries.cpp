#include "framework/entries.h"

#include <algorithm>
#include <vector>

#include "base/files.h"
#include "base/replacement.h"
#include "base/text.h"
#include "base/words.h"
#include "framework/settings.h"

namespace {

std::string lower_case(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), [](char c) { return ::lower_case(c); });
    return lower;
}

}  // namespace

int GetEntries(const std::string& path, int first, int maximum, std::span<char> out) try {
    LineReader in(path, kSettingLine);
    if (!in.is_open()) return kCannotOpen;
    int index = 0;
    int copied = 0;
    while (copied < maximum && in.next()) {
        const std::string_view line = in.text();
        if (is_comment(line) || index++ < first) continue;
        if (line.size() + 1 > out.size()) break;
        copy_text(out, line);
        out = out.subspan(line.size() + 1);
        ++copied;
    }
    return copied;
} catch (const Unreadable&) {
    return kCannotOpen;
}

int AppendEntries(const std::string& path, std::span<const std::string_view> entries,
                  std::size_t& appended) {
    // Only what is to be added is remembered, however long the list is.
    struct Entry {
        std::string_view name;
        bool is_listed;
    };
    std::vector<Entry> wanted;
    wanted.reserve(entries.size());
    for (const std::string_view entry : entries) wanted.push_back({entry, false});
    std::ranges::sort(wanted, {}, &Entry::name);
    const auto find = [&](std::string_view name) {
        const auto found = std::ranges::lower_bound(wanted, name, {}, &Entry::name);
        return found != wanted.end() && found->name == name ? &*found : nullptr;
    };
    // Takes note of a line as readers of the list take it: in pieces.
    const auto note = [&](std::string_view line) {
        for (; !line.empty(); line.remove_prefix(std::min(kSettingLine, line.size()))) {
            const std::string_view piece = line.substr(0, kSettingLine);
            Entry* entry = is_comment(piece) ? nullptr : find(first_word(piece));
            if (entry) entry->is_listed = true;
        }
    };
    std::size_t added = 0;
    const Written written = rewrite_lines(
        path, "", Replacement::kKeepMode, IfMissing::create,
        [&](std::string_view line, Replacement& out) {
            note(line);
            out.write(line);
        },
        [&](Replacement& out) {
            for (const std::string_view entry : entries) {
                if (find(entry)->is_listed) continue;
                out.end_line();
                out.write_line(entry);
                note(entry);
                ++added;
            }
        });
    appended = written == Written::done ? added : 0;
    return code_of(written, kEntryCodes);
}

int AppendEntry(const std::string& path, std::string_view entry) {
    std::size_t appended = 0;
    const int result = AppendEntries(path, {&entry, 1}, appended);
    return result == 0 && appended == 0 ? kEntryExists : result;
}

int RemoveEntries(const std::string& path, std::span<const std::string_view> names) {
    // Here alone case is ignored: a site that is taken off the list is meant however it is spelled,
    // while two spellings may well be added.
    std::vector<std::string> unwanted = {""};  // a blank line has no first word
    for (const std::string_view name : names) unwanted.push_back(lower_case(name));
    std::ranges::sort(unwanted);
    const Written written = rewrite_lines(
        path, path + ".tmp", Replacement::kKeepMode, [&](std::string_view line, Replacement& out) {
            if (is_comment(line) ||
                !std::ranges::binary_search(unwanted, lower_case(first_word(line))))
                out.write(line);
        });
    return code_of(written, kEntryCodes);
}

int RemoveAllEntries(const std::string& path) {
    return exists(path) ? code_of(replace_file(path, ""), kEntryCodes) : 0;
}
