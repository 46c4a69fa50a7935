// The filter's settings: a line sets what a plodding reading with the C library's scanners makes
// of it.
#include <strings.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <string>

#include "filter/filterconf.h"
#include "framework/profile.h"

namespace {

void plod(std::string line, FilterConf& r) {
    if (line[0] == '#') return;
    std::array<char*, 4> word{};
    for (std::size_t i = 0; i < word.size(); ++i)
        word[i] = std::strtok(i ? nullptr : line.data(), " \t\r\n");
    if (!word[0] || !word[1]) return;
    const auto is = [&](std::size_t i, const char* text) { return !strcasecmp(word[i], text); };
    const std::string_view key = word[0];
    const std::pair<std::string_view, int*> switches[] = {
        {"enable_log", &r.enable_log},       {"block_script", &r.block_script},
        {"block_applet", &r.block_applet},   {"block_activex", &r.block_activex},
        {"block_cookies", &r.block_cookies}, {"custom_filter_state", &r.custom_filter_state}};
    for (const auto& [name, value] : switches)
        if (key == name) *value = is(1, "on") || is(1, "enable");
    const auto number = [&](std::size_t i, int& value) {
        char* end = nullptr;
        const auto found = static_cast<int>(std::strtol(word[i], &end, 10));
        if (end != word[i]) value = found;
    };
    if (key == "filter_state") number(1, r.filter_state);
    if (key == "custom_content_state") number(1, r.custom_content_state);
    if ((key != "filter_from" && key != "filter_to") || !word[2] || !word[3]) return;
    int day = 6, hour = 0, minute = 0;
    while (day > 0 && !is(1, days[static_cast<std::size_t>(day)].data())) --day;
    number(2, hour);
    number(3, minute);
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59) return;
    const bool from = key == "filter_from";
    (from ? r.from_day : r.to_day) = day;
    (from ? r.from_hour : r.to_hour) = hour;
    (from ? r.from_min : r.to_min) = minute;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    std::string text(data, size);
    // The C library ends texts at a NUL, knows more blanks than the file, and leaves open what a
    // number of more digits becomes.
    std::replace_if(
        text.begin(), text.end(), [](char c) { return !c || c == '\v' || c == '\f'; }, ' ');
    std::size_t digits = 0;
    std::erase_if(text,
                  [&](char c) { return (digits = c >= '0' && c <= '9' ? digits + 1 : 0) > 9; });
    FilterConf found, expected;
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view line = take_word(rest, "\n");
        ParseLine(line, found);
        plod(std::string(line), expected);
    }
    if (std::memcmp(&found, &expected, sizeof found) != 0) std::abort();
    return 0;
}
