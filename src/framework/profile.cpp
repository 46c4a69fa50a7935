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

#include "base/files.h"
#include "base/format.h"
#include "base/paths.h"
#include "base/words.h"

namespace {

constexpr char kSetTmpF[] = "/tmp/setstr.tmp";

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
