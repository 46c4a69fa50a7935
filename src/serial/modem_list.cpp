#include "serial/modem_list.h"

#include <string>

#include "base/replacement.h"

namespace {

constexpr std::size_t kLine = 82;  // characters that are read of a line at a time
constexpr char kPlainInit[] = "AT&F";

bool is_empty(std::string_view line) { return line.front() == '\n' || line.front() == '\r'; }

// A header's name. The last character counts as the line feed, whatever it is.
std::optional<std::string_view> header_name(std::string_view line) {
    return section_name(line.substr(0, line.size() - 1));
}

// What stands behind "InitString=", without the line end.
std::string_view init_of(std::string_view line) {
    line.remove_prefix(std::string_view(InitKey).size());
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

SettingText for_script(std::string_view init) {
    std::string text;
    for (const char c : init) {
        const std::size_t length = c == '\\' ? 2 : 1;
        if (text.size() + length > SettingText::capacity) break;
        text.append(length, c);
    }
    return SettingText(text);
}

}  // namespace

std::optional<std::string_view> section_name(std::string_view line) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.size() < 2 || line.front() != '[' || line.back() != ']') return std::nullopt;
    return line.substr(1, line.size() - 2);
}

ModemList GetModemList0(LineReader& file, InitMode mode) {
    ModemList list;
    bool awaits_init = false;
    while (file.next()) {
        const std::string_view line = file.piece();
        if (is_empty(line)) continue;
        if (line.front() == '[') {
            // Only a header tells that no init string came. At the end of the file the modem has an
            // empty one.
            if (awaits_init) list.back().init = kPlainInit;
            const std::optional<std::string_view> name = header_name(line);
            awaits_init = name.has_value();
            if (name) list.push_back({*name, {}});
        } else if (awaits_init && line.starts_with(InitKey)) {
            const std::string_view init = init_of(file.text());
            list.back().init = mode == InitMode::plain ? SettingText(init) : for_script(init);
            awaits_init = false;
        }
    }
    return list;
}

ModemList GetModemList(InitMode mode) {
    LineReader file(ModemFile, kLine);
    if (file.is_open()) return GetModemList0(file, mode);
    // Where it cannot be written the page tells so and offers the two all the same.
    Replacement out = Replacement::for_new(ModemFile, kPlainMode);
    out.write(kNewModemList);
    told(out.create());
    return {{"_Standard Modem", kPlainInit}, {kOtherModem, "AT&FM0"}};
}

int get_init_by_modem(std::span<char> out, std::string_view name) try {
    LineReader file(ModemFile, kLine);
    if (!file.is_open()) return 1;
    bool inside = false;
    while (file.next()) {
        const std::string_view line = file.piece();
        if (is_empty(line)) continue;
        if (line.front() == '[') {
            if (inside) return 2;
            inside = header_name(line) == name;
        } else if (inside && line.starts_with(InitKey)) {
            copy_text(out, init_of(file.text()));
            return 0;
        }
    }
    return 3;
} catch (const Unreadable&) {
    return 1;
}
