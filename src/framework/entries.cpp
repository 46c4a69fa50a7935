#include "framework/entries.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <unordered_map>
#include <unordered_set>

#include "base/files.h"
#include "base/log.h"
#include "base/text.h"
#include "base/words.h"
#include "framework/settings.h"

namespace {

std::string lower_case(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return lower;
}

// True when the file ends in the middle of a line.
bool ends_without_line_end(FILE* file) {
    return std::fseek(file, -1, SEEK_END) == 0 && std::getc(file) != '\n';
}

// Appends whole lines, flushed to disk; when that fails the file has its old length again, so that
// no torn line stays.
bool append_lines(const std::string& path, std::string_view lines) {
    FILE* file = std::fopen(path.c_str(), "a+e");
    if (!file) return false;
    const bool line_open = ends_without_line_end(file);
    std::fseek(file, 0, SEEK_END);
    const off_t old_length = ftello(file);
    if (line_open) std::fputc('\n', file);
    std::fwrite(lines.data(), 1, lines.size(), file);
    bool good = std::fflush(file) == 0 && std::ferror(file) == 0 && fsync(fileno(file)) == 0;
    good = std::fclose(file) == 0 && good;
    if (good) return true;
    if (truncate(path.c_str(), old_length) != 0) log_line("%s: a torn line may stay", path);
    return false;
}

}  // namespace

int GetEntries(const std::string& path, int first, int maximum, std::span<char> out) {
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
    return in.failed() ? kCannotOpen : copied;
}

int AppendEntries(const std::string& path, std::span<const std::string_view> entries,
                  std::size_t& appended) {
    appended = 0;
    // Only what is to be added is remembered, however long the list is.
    std::unordered_map<std::string_view, bool> listed;
    for (const std::string_view entry : entries) listed.emplace(entry, false);
    const auto note = [&](std::string_view line) {
        if (is_comment(line)) return;
        const auto entry = listed.find(first_word(line));
        if (entry != listed.end()) entry->second = true;
    };
    LineReader in(path, kSettingLine);
    while (in.is_open() && in.next()) note(in.text());
    if (in.is_open() && in.failed()) return kCannotOpen;

    std::string lines;
    std::size_t added = 0;
    for (const std::string_view entry : entries) {
        if (listed[entry]) continue;
        lines.append(entry).append("\n");
        ++added;
        // The new line counts as readers of the list will take it.
        for (std::size_t at = 0; at < entry.size(); at += kSettingLine)
            note(entry.substr(at, kSettingLine));
    }
    if (added > 0 && !append_lines(path, lines)) return kCannotOpen;
    appended = added;
    return 0;
}

int AppendEntry(const std::string& path, std::string_view entry) {
    std::size_t appended = 0;
    const int result = AppendEntries(path, {&entry, 1}, appended);
    return result == 0 && appended == 0 ? kEntryExists : result;
}

int RemoveEntries(const std::string& path, std::span<const std::string_view> names) {
    std::unordered_set<std::string> unwanted = {""};  // a blank line has no first word
    for (const std::string_view name : names) unwanted.insert(lower_case(name));
    const Rewritten result = rewrite_lines(
        path, path + ".tmp", Replacement::kKeepMode,
        [&](std::string_view line, Replacement& out) {
            if (is_comment(line) || !unwanted.contains(lower_case(first_word(line))))
                out.write(line);
        },
        [](Replacement&) {});
    return result == Rewritten::done ? 0 : kCannotOpen;
}

int RemoveAllEntries(const std::string& path) {
    FILE* file = std::fopen(path.c_str(), "r+e");
    if (!file) return errno == ENOENT ? 0 : kCannotOpen;
    const bool emptied = ftruncate(fileno(file), 0) == 0;
    return std::fclose(file) == 0 && emptied ? 0 : kCannotOpen;
}
