#include "framework/settings.h"

#include <algorithm>

#include "base/files.h"
#include "base/format.h"
#include "base/paths.h"
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

int WritePrivateProfileString(const std::string& path, std::string_view key,
                              std::string_view value) {
    const auto setting = [&] { return format_text("%s %s\n", key, value); };
    if (!LineReader(path).is_open() && !replace_file(path, "")) return 0;
    bool matched = false;
    const Rewritten result = rewrite_lines(
        path, path + ".tmp", Replacement::kKeepMode,
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
