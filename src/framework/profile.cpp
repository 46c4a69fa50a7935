#include "framework/profile.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unordered_map>
#include <unordered_set>

#include "framework/files.h"
#include "framework/format.h"
#include "framework/log.h"
#include "framework/paths.h"

namespace {

constexpr char kSetTmpF[] = "/tmp/setstr.tmp";
constexpr std::size_t kDnsLine = 79;
constexpr std::array<std::string_view, 3> kDnsKeys = {DNSKey, DNSKey2, DNSKey3};

// Takes the next piece of a line, with its line end, off the front of a file's content.
std::string_view take_piece(std::string_view& rest) {
    const std::size_t line = rest.find('\n');
    const std::size_t length = line == std::string_view::npos ? rest.size() : line + 1;
    const std::string_view piece = rest.substr(0, std::min(length, kProfileLine));
    rest.remove_prefix(piece.size());
    return piece;
}

// The value of the first line with a key that begins so, without its line feed.
std::optional<std::string_view> find_by_prefix(std::string_view key, const Profile* stream) {
    std::string_view rest = stream ? stream->content() : "";
    while (!rest.empty()) {
        std::string_view piece = take_piece(rest);
        if (piece.size() < key.size() || std::memcmp(piece.data(), key.data(), key.size()) != 0)
            continue;
        const std::size_t equals = piece.find('=');
        if (equals == std::string_view::npos || equals < key.size()) continue;
        if (piece.ends_with('\n')) piece.remove_suffix(1);
        return piece.substr(equals + 1);
    }
    return std::nullopt;
}

std::string_view without_line_end(std::string_view line) {
    while (line.ends_with('\n') || line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

bool has_key(std::string_view line, std::string_view key) {
    return line.starts_with(key) && line.substr(key.size()).starts_with('=');
}

bool is_header_of(std::string_view line, std::string_view section) {
    if (line.ends_with('\n')) line.remove_suffix(1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line.size() == section.size() + 2 && line.front() == '[' && line.back() == ']' &&
           line.substr(1, section.size()) == section;
}

std::string key_line(std::string_view key, std::string_view value) {
    return format_text("%s=%s\n", key, value);
}

std::string_view dns_key(int n) { return n == 2 ? DNSKey2 : n == 3 ? DNSKey3 : DNSKey; }

std::string_view dns_key_name(int n) {
    std::string_view key = dns_key(n);
    key.remove_suffix(1);  // the keys of the list end in "="
    return key;
}

// Calls `use` with the value of each DNS server line until it returns false.
template <class Use>
void for_each_dns(Use use) {
    LineReader in(QSCfgF, kDnsLine);
    while (in.is_open() && in.next()) {
        const std::string_view line = in.piece();
        for (const std::string_view key : kDnsKeys)
            if (line.starts_with(key) &&
                !use(without_line_end(line.substr(key.size())).substr(0, DnsText::capacity)))
                return;
    }
}

bool is_comment(std::string_view line) {
    return line.empty() || line.front() == '\n' || line.front() == '#';
}

std::string_view first_word(std::string_view line) { return take_word(line); }

std::string temporary_of(const std::string& path) { return path + ".tmp"; }

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

std::optional<Profile> Profile::open(const std::string& path) {
    std::optional<std::string> content = read_file(path);
    if (!content) return std::nullopt;
    return Profile(std::move(*content));
}

int GetProfileString(std::string_view key, std::string_view fallback, std::span<char> out,
                     const Profile* stream) {
    const std::optional<std::string_view> value = find_by_prefix(key, stream);
    copy_text(out, value.value_or(fallback));
    return value.has_value();
}

int GetProfileInt(std::string_view key, int fallback, const Profile* stream) {
    const std::optional<std::string_view> value = find_by_prefix(key, stream);
    return value ? to_int(*value) : fallback;
}

long GetProfileLong(std::string_view key, long fallback, const Profile* stream) {
    const std::optional<std::string_view> value = find_by_prefix(key, stream);
    return value ? to_long(*value) : fallback;
}

int GetStrByKey(std::string_view key, std::span<char> out, const Profile* stream) {
    if (!stream || out.empty()) return -1;
    copy_text(out, "");
    std::string_view rest = stream->content();
    while (!rest.empty()) {
        const std::string_view piece = take_piece(rest);
        if (!has_key(piece, key)) continue;
        copy_text(out, without_line_end(piece.substr(key.size() + 1)));
        return 0;
    }
    return 1;
}

int GetIntByKey(std::string_view key, int* out, const Profile* stream) {
    if (!out) return -1;
    Text<kProfileLine + 1> value;
    const int result = GetStrByKey(key, value, stream);
    *out = to_int(value);
    return result;
}

std::string ini_temporary() {
    const std::string digits = std::to_string(random());
    const std::string padded =
        std::string(5 - std::min<std::size_t>(5, digits.size()), '0') + digits;
    return "Ini" + padded.substr(0, 5) + ".tmp";
}

int SetProfileString(std::string_view section, std::string_view key, std::string_view value,
                     const std::string& path) {
    enum { searching, inside, written } state = searching;
    const Rewritten result = rewrite_lines(
        path, ini_temporary(), Replacement::kKeepMode,
        [&](std::string_view line, Replacement& out) {
            if (state == searching && is_header_of(line, section)) {
                state = inside;
            } else if (state == inside && (line.starts_with('[') || has_key(line, key))) {
                state = written;
                out.write(key_line(key, value));
                if (has_key(line, key)) return;
            }
            out.write(line);
        },
        [&](Replacement& out) {
            if (state == written) return;
            out.end_line();
            if (state == searching) out.write(format_text("[%s]\n", section));
            out.write(key_line(key, value));
        });
    if (result == Rewritten::done) return 0;
    return result == Rewritten::not_renamed ? -1 : 1;
}

bool SetFileString(std::string_view key, std::optional<std::string_view> value,
                   const std::string& path) {
    bool matched = false;
    const Rewritten result = rewrite_lines(
        path, kSetTmpF, Replacement::kKeepMode,
        [&](std::string_view line, Replacement& out) {
            if (!has_key(line, key)) return out.write(line);
            matched = true;
            if (value) out.write(key_line(key, *value));
        },
        [&](Replacement& out) {
            if (matched || !value) return;
            out.end_line();
            out.write(key_line(key, *value));
        });
    return result == Rewritten::done;
}

void GetDNS(DnsText& out) {
    out.clear();
    for_each_dns([&](std::string_view server) {
        out = server;
        return false;
    });
}

void GetWanDNS(std::span<char> out) {
    std::string shown;
    int seen = 0;
    for_each_dns([&](std::string_view server) {
        if (seen == 1) shown += "<BR>";
        shown += server;
        return ++seen < 2;
    });
    copy_text(out, shown);
}

void GetDNS_N(int n, DnsText& out) {
    GetProfileString(dns_key_name(n), "", out, stream_of(Profile::open(QSCfgF)));
}

void SaveDNS_N(int n, std::string_view value) {
    SetProfileString("network", dns_key_name(n), value, QSCfgF);
}

int GetPrivateProfileString(const std::string& path, std::string_view key,
                            std::string_view fallback, std::span<char> out) {
    copy_text(out, fallback);
    if (out.empty()) return 0;
    LineReader in(path, kSettingLine);
    while (in.is_open() && in.next()) {
        std::string_view rest = in.text();
        if (is_comment(rest) || take_word(rest) != key) continue;
        rest.remove_prefix(std::min(rest.find_first_not_of(" \t\r\n"), rest.size()));
        const std::string_view value = TrancateSpace(rest);
        copy_text(out, value);
        return static_cast<int>(std::min(value.size(), out.size() - 1));
    }
    return 0;
}

int WritePrivateProfileString(const std::string& path, std::string_view key,
                              std::string_view value) {
    const auto setting = [&] { return format_text("%s %s\n", key, value); };
    if (!LineReader(path).is_open() && !replace_file(path, "")) return 0;
    bool matched = false;
    const Rewritten result = rewrite_lines(
        path, temporary_of(path), Replacement::kKeepMode,
        [&](std::string_view line, Replacement& out) {
            const bool matches = !is_comment(line) && first_word(line) == key;
            matched = matched || matches;
            out.write(matches ? setting() : line);
        },
        [&](Replacement& out) {
            if (matched) return;
            out.end_line();
            out.write(setting());
        });
    return result == Rewritten::done;
}

int WriteProfileString(std::string_view key, std::string_view value) {
    return WritePrivateProfileString(FilterConfF, key, value);
}

int WritePrivateProfileInt(const std::string& path, std::string_view key, int value) {
    return WritePrivateProfileString(path, key, std::to_string(value));
}

int WritePrivateProfileOnOff(const std::string& path, std::string_view key, int flag) {
    return WritePrivateProfileString(path, key, flag ? "on" : "off");
}

int WritePrivateProfileDate(const std::string& path, std::string_view key, unsigned weekday, int a,
                            int b) {
    return WritePrivateProfileString(
        path, key, format_text("%s %d %d", days[weekday % days.size()], long{a}, long{b}));
}

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
        path, temporary_of(path), Replacement::kKeepMode,
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

std::string_view TrancateSpace(std::string_view text) {
    const std::size_t last = text.find_last_not_of(" \t\r\n");
    return text.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

std::string_view take_word(std::string_view& rest, std::string_view separators) {
    rest.remove_prefix(std::min(rest.find_first_not_of(separators), rest.size()));
    const std::string_view word = rest.substr(0, rest.find_first_of(separators));
    rest.remove_prefix(word.size());
    return word;
}

int to_int(std::string_view text) { return static_cast<int>(to_long(text)); }

// Read in 64 bits, also where long has 32: what is too large for a field is cut alike everywhere.
long to_long(std::string_view text) {
    return static_cast<long>(std::strtoll(std::string(text).c_str(), nullptr, 10));
}
