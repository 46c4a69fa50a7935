#include "filter/filterconf.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <string_view>
#include <vector>

#include "base/files.h"
#include "base/paths.h"
#include "base/text.h"
#include "base/words.h"
#include "framework/entries.h"
#include "framework/settings.h"

namespace {

using Field = int FilterConf::*;

struct Setting {
    std::string_view key;
    Field field;
};

constexpr Setting kState = {"filter_state", &FilterConf::filter_state};
constexpr Setting kListKind = {"custom_content_state", &FilterConf::custom_content_state};

// In the order in which they are written, as the moments below.
constexpr std::array<Setting, 6> kSwitches = {{
    {"block_applet", &FilterConf::block_applet},
    {"block_script", &FilterConf::block_script},
    {"block_activex", &FilterConf::block_activex},
    {"block_cookies", &FilterConf::block_cookies},
    {"custom_filter_state", &FilterConf::custom_filter_state},
    {"enable_log", &FilterConf::enable_log},
}};

struct Moment {
    std::string_view key;
    Field day, hour, minute;
};

constexpr std::array<Moment, 2> kMoments = {{
    {"filter_from", &FilterConf::from_day, &FilterConf::from_hour, &FilterConf::from_min},
    {"filter_to", &FilterConf::to_day, &FilterConf::to_hour, &FilterConf::to_min},
}};

// The greatest value of each field, in the order of their numbers; the least is 0.
struct Limit {
    Field field;
    int most;
};

constexpr std::array<Limit, 14> kLimits = {{
    {&FilterConf::filter_state, kFilterBetween},
    {&FilterConf::from_day, 6},
    {&FilterConf::to_day, 6},
    {&FilterConf::from_hour, 23},
    {&FilterConf::from_min, 59},
    {&FilterConf::to_hour, 23},
    {&FilterConf::to_min, 59},
    {&FilterConf::block_applet, 1},
    {&FilterConf::block_script, 1},
    {&FilterConf::block_activex, 1},
    {&FilterConf::block_cookies, 1},
    {&FilterConf::custom_filter_state, 1},
    {&FilterConf::enable_log, 1},
    {&FilterConf::custom_content_state, 2},
}};

int day_number(std::string_view word) {
    for (std::size_t day = 1; day < days.size(); ++day)
        if (StrCmpi(word, days[day]) == 0) return static_cast<int>(day);
    return 0;  // Sunday, or no day at all
}

void parse_switch(std::string_view word, int& value) {
    if (!word.empty()) value = StrCmpi(word, "on") == 0 || StrCmpi(word, "enable") == 0;
}

// A number as "%d" takes it: nothing changes when the word does not begin with one.
void parse_number(std::string_view word, int& value) {
    if (word.starts_with('+') && !word.starts_with("+-")) word.remove_prefix(1);
    std::from_chars(word.data(), word.data() + word.size(), value);
}

// Day, hour and minute are stored together or not at all.
void parse_time24(std::string_view rest, const Moment& moment, FilterConf& record) {
    const std::string_view day = take_word(rest);
    const std::string_view hour_word = take_word(rest);
    const std::string_view minute_word = take_word(rest);
    if (minute_word.empty()) return;
    const int hour = to_int(hour_word);
    const int minute = to_int(minute_word);
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59) return;
    record.*moment.day = day_number(day);
    record.*moment.hour = hour;
    record.*moment.minute = minute;
}

std::string moment_text(const Moment& moment, const FilterConf& record) {
    return date_text(static_cast<unsigned>(record.*moment.day), record.*moment.hour,
                     record.*moment.minute);
}

std::vector<SpacedSetting> settings_of(const FilterConf& record) {
    std::vector<SpacedSetting> settings;
    const auto add_number = [&](const Setting& each) {
        settings.push_back({each.key, std::to_string(record.*each.field)});
    };
    add_number(kState);
    for (const Moment& each : kMoments) settings.push_back({each.key, moment_text(each, record)});
    for (const Setting& each : kSwitches)
        settings.push_back({each.key, on_off_text(record.*each.field)});
    add_number(kListKind);
    return settings;
}

}  // namespace

void ParseLine(std::string_view line, FilterConf& record) {
    if (line.starts_with('#')) return;
    const std::string_view key = take_word(line);
    for (const Setting& setting : kSwitches)
        if (key == setting.key) parse_switch(take_word(line), record.*setting.field);
    for (const Setting& setting : {kState, kListKind})
        if (key == setting.key) parse_number(take_word(line), record.*setting.field);
    for (const Moment& moment : kMoments)
        if (key == moment.key) parse_time24(line, moment, record);
}

int get_filter_info(FilterConf* record) try {
    *record = FilterConf{};
    LineReader in(FilterConfF, kSettingLine);
    if (!in.is_open()) return kCannotOpen;
    FilterConf found;
    while (in.next()) ParseLine(in.text(), found);
    *record = found;
    return 0;
} catch (const Unreadable&) {
    return kCannotOpen;
}

int check_filter_info(const FilterConf& record) {
    const auto is_out = [&](const Limit& limit) {
        const int value = record.*limit.field;
        return value < 0 || value > limit.most;
    };
    const auto first = std::find_if(kLimits.begin(), kLimits.end(), is_out);
    return first == kLimits.end() ? 0 : static_cast<int>(first - kLimits.begin()) + 1;
}

int set_filter_info(const FilterConf& record, bool write) {
    const int out_of_range = check_filter_info(record);
    if (out_of_range || !write) return out_of_range;
    return code_of(write_settings(FilterConfF, settings_of(record)), kEntryCodes);
}
