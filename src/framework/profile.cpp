#include "framework/profile.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "base/files.h"
#include "base/format.h"
#include "base/replacement.h"
#include "base/words.h"

namespace {

constexpr std::size_t kLines = 64;  // as many as the longest of the appliance's own files has

constexpr char kSetTmpF[] = "/tmp/setstr.tmp";

// Takes the next line off the front of a file's text.
Profile::Line take_line(std::string_view& rest) {
    const std::string_view piece = rest.substr(0, kProfileLine);
    const std::string_view line = piece.substr(0, piece.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, piece.size()));
    return {line, line.find('='), 0};
}

bool begins_so(const Profile::Line& line, std::string_view key) {
    return line.equals != std::string_view::npos && line.equals >= key.size() &&
           line.text[key.size() - 1] == key.back() &&
           std::memcmp(line.text.data(), key.data(), key.size()) == 0;
}

// A key is found by its beginning. That is meant: one reader serves files with sections and
// without, and what stands between the beginning and the "=" does not count. So writers put no key
// behind a longer one that begins with it (ppp_conf.cpp).
const Profile::Line* find_by_prefix(std::string_view key, const Profile* stream) {
    return stream ? stream->find(key) : nullptr;
}

std::string_view value_of(const Profile::Line& line) { return line.text.substr(line.equals + 1); }

bool has_key(std::string_view line, std::string_view key) {
    return line.starts_with(key) && line.substr(key.size()).starts_with('=');
}

bool is_header_of(std::string_view line, std::string_view section) {
    if (line.ends_with('\n')) line.remove_suffix(1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line.size() == section.size() + 2 && line.front() == '[' && line.back() == ']' &&
           line.substr(1, section.size()) == section;
}

// The line of a setting; nothing for one without a value.
std::string key_line(const Setting& setting) {
    return setting.value ? format_text("%s=%s\n", setting.key, *setting.value) : "";
}

// The setting whose line this is, or their number.
std::size_t index_of_key(std::string_view line, std::span<const Setting> settings) {
    const auto found = std::ranges::find_if(
        settings, [&](const Setting& setting) { return has_key(line, setting.key); });
    return static_cast<std::size_t>(found - settings.begin());
}

}  // namespace

Profile::Profile(FileText text) : text_(std::move(text)) {
    lines_.reserve(kLines);
    for (std::string_view rest = text_.view(); !rest.empty();) {
        const Line line = take_line(rest);
        if (line.equals != std::string_view::npos) lines_.push_back(line);
    }
    // From the last to the first, so that each leads to the next one.
    first_.fill(lines_.size());
    for (std::size_t i = lines_.size(); i-- > 0;)
        lines_[i].next = std::exchange(first_[beginning_of(lines_[i].text.front())], i);
}

const Profile::Line* Profile::find(std::string_view beginning) const {
    for (std::size_t i = first_[beginning_of(beginning.front())]; i < lines_.size();
         i = lines_[i].next)
        if (begins_so(lines_[i], beginning)) return &lines_[i];
    return nullptr;
}

std::optional<Profile> Profile::open(const std::string& path) {
    FileText text = file_text(path);
    return text ? std::optional(Profile(std::move(text))) : std::nullopt;
}

void get_setting(const std::string& path, std::string_view key, std::string_view fallback,
                 std::span<char> out) {
    const FileText text = file_text(path);
    copy_text(out, fallback);
    for (std::string_view rest = text.view(); !rest.empty();)
        if (const Profile::Line line = take_line(rest); begins_so(line, key))
            return copy_text(out, value_of(line));
}

int GetProfileString(std::string_view key, std::string_view fallback, std::span<char> out,
                     const Profile* stream) {
    const Profile::Line* line = find_by_prefix(key, stream);
    copy_text(out, line ? value_of(*line) : fallback);
    return line != nullptr;
}

int GetProfileInt(std::string_view key, int fallback, const Profile* stream) {
    const Profile::Line* line = find_by_prefix(key, stream);
    return line ? to_int(value_of(*line)) : fallback;
}

long GetProfileLong(std::string_view key, long fallback, const Profile* stream) {
    const Profile::Line* line = find_by_prefix(key, stream);
    return line ? to_long(value_of(*line)) : fallback;
}

// The generator is not seeded, so a request's first name is always the same one. It need be neither
// new nor secret: the file is made anew, and requests run one at a time.
std::string ini_temporary() {
    const std::string digits = std::to_string(random());
    const std::string padded =
        std::string(5 - std::min<std::size_t>(5, digits.size()), '0') + digits;
    return "Ini" + padded.substr(0, 5) + ".tmp";
}

Written set_settings(std::string_view section, std::span<const Setting> settings,
                     const std::string& path) {
    enum { before, inside, behind } place = before;
    std::vector<bool> is_set(settings.size());
    const auto write_rest = [&](Replacement& out) {
        out.end_line();
        for (std::size_t i = 0; i < settings.size(); ++i)
            if (!is_set[i]) out.write(key_line(settings[i]));
    };
    const Written written = rewrite_lines(
        path, ini_temporary(), Replacement::kKeepMode, IfMissing::fail,
        [&](std::string_view line, Replacement& out) {
            if (place == inside && line.starts_with('[')) {
                place = behind;
                write_rest(out);
            } else if (place == inside) {
                const std::size_t i = index_of_key(line, settings);
                if (i < settings.size() && !is_set[i]) {
                    is_set[i] = true;
                    return out.write(key_line(settings[i]));
                }
            } else if (place == before && is_header_of(line, section)) {
                place = inside;
            }
            out.write(line);
        },
        [&](Replacement& out) {
            if (place == behind) return;
            out.end_line();
            if (place == before) out.write(format_text("[%s]\n", section));
            write_rest(out);
        });
    // Files with sections are there on every appliance, unlike those of set_file_strings.
    if (written == Written::missing) note_failure(Failure::cannot_write, path);
    return written;
}

int SetProfileString(std::string_view section, std::string_view key, std::string_view value,
                     const std::string& path) {
    const Setting setting = {key, std::string(value)};
    return code_of(set_settings(section, {&setting, 1}, path), kProfileCodes);
}

Written set_file_strings(std::span<const Setting> settings, const std::string& path) {
    std::vector<bool> is_set(settings.size());
    return rewrite_lines(
        path, kSetTmpF, Replacement::kKeepMode, IfMissing::fail,
        [&](std::string_view line, Replacement& out) {
            const std::size_t i = index_of_key(line, settings);
            if (i == settings.size()) return out.write(line);
            // All lines with the key: of several this program takes the first, a shell the last.
            is_set[i] = true;
            out.write(key_line(settings[i]));
        },
        [&](Replacement& out) {
            for (std::size_t i = 0; i < settings.size(); ++i) {
                if (is_set[i] || !settings[i].value) continue;
                out.end_line();
                out.write(key_line(settings[i]));
            }
        });
}

Written SetFileString(std::string_view key, std::optional<std::string_view> value,
                      const std::string& path) {
    const Setting setting = {key, value ? std::optional<std::string>(*value) : std::nullopt};
    return set_file_strings({&setting, 1}, path);
}

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

int GetStrByKey(std::string_view key, std::span<char> out, const Profile* stream) {
    if (!stream || out.empty()) return -1;
    copy_text(out, "");
    for (const Profile::Line& line : stream->lines()) {
        if (!has_key(line.text, key)) continue;
        copy_text(out, without_line_end(line.text.substr(key.size() + 1)));
        return 0;
    }
    return 1;
}

int GetIntByKey(std::string_view key, int* out, const Profile* stream) {
    if (!out) return -1;
    Text<kProfileLine + 1> value;
    const int result = GetStrByKey(key, value.buffer(), stream);
    *out = to_int(value);
    return result;
}
