#include "framework/settings.h"

#include <algorithm>
#include <vector>

#include "base/files.h"
#include "base/format.h"
#include "base/paths.h"
#include "base/replacement.h"
#include "base/text.h"
#include "base/words.h"

bool is_comment(std::string_view line) {
    return line.empty() || line.front() == '\n' || line.front() == '#';
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

Written write_settings(const std::string& path, std::span<const SpacedSetting> settings) {
    std::vector<bool> is_set(settings.size());
    const auto line_of = [](const SpacedSetting& setting) {
        return format_text("%s %s\n", setting.key, setting.value);
    };
    return rewrite_lines(
        path, path + ".tmp", Replacement::kKeepMode, IfMissing::create,
        [&](std::string_view line, Replacement& out) {
            const auto found = std::ranges::find_if(settings, [&](const SpacedSetting& setting) {
                return !is_comment(line) && first_word(line) == setting.key;
            });
            if (found == settings.end()) return out.write(line);
            // All lines with the key: for some readers the first one counts, for others the last.
            is_set[static_cast<std::size_t>(found - settings.begin())] = true;
            out.write(line_of(*found));
        },
        [&](Replacement& out) {
            for (std::size_t i = 0; i < settings.size(); ++i) {
                if (is_set[i]) continue;
                out.end_line();
                out.write(line_of(settings[i]));
            }
        });
}

std::string on_off_text(int flag) { return flag ? "on" : "off"; }

std::string date_text(unsigned weekday, int a, int b) {
    return format_text("%s %d %d", days[weekday % days.size()], long{a}, long{b});
}

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

int WritePrivateProfileString(const std::string& path, std::string_view key,
                              std::string_view value) {
    const SpacedSetting setting = {key, std::string(value)};
    return write_settings(path, {&setting, 1}) == Written::done;
}

int WriteProfileString(std::string_view key, std::string_view value) {
    return WritePrivateProfileString(FilterConfF, key, value);
}

int WritePrivateProfileInt(const std::string& path, std::string_view key, int value) {
    return WritePrivateProfileString(path, key, std::to_string(value));
}

int WritePrivateProfileOnOff(const std::string& path, std::string_view key, int flag) {
    return WritePrivateProfileString(path, key, on_off_text(flag));
}

int WritePrivateProfileDate(const std::string& path, std::string_view key, unsigned weekday, int a,
                            int b) {
    return WritePrivateProfileString(path, key, date_text(weekday, a, b));
}
