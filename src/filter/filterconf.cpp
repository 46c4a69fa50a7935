#include "filter/filterconf.h"

#include <signal.h>

#include <array>
#include <charconv>
#include <string_view>

#include "framework/files.h"
#include "framework/paths.h"
#include "framework/profile.h"
#include "framework/text.h"
#include "nat/process.h"

namespace {

constexpr int kCannotSignal = -36;

using Field = int FilterConf::*;

struct Setting {
    std::string_view key;
    Field field;
};

constexpr std::array<Setting, 6> kSwitches = {{
    {"enable_log", &FilterConf::enable_log},
    {"block_script", &FilterConf::block_script},
    {"block_applet", &FilterConf::block_applet},
    {"block_activex", &FilterConf::block_activex},
    {"block_cookies", &FilterConf::block_cookies},
    {"custom_filter_state", &FilterConf::custom_filter_state},
}};

constexpr std::array<Setting, 2> kNumbers = {{
    {"filter_state", &FilterConf::filter_state},
    {"custom_content_state", &FilterConf::custom_content_state},
}};

struct Moment {
    std::string_view key;
    Field day, hour, minute;
};

constexpr std::array<Moment, 2> kMoments = {{
    {"filter_from", &FilterConf::from_day, &FilterConf::from_hour, &FilterConf::from_min},
    {"filter_to", &FilterConf::to_day, &FilterConf::to_hour, &FilterConf::to_min},
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
    if (word.starts_with('+')) word.remove_prefix(1);
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

void ParseLine(std::string_view line, FilterConf& record) {
    const std::string_view key = take_word(line);
    for (const Setting& setting : kSwitches)
        if (key == setting.key) parse_switch(take_word(line), record.*setting.field);
    for (const Setting& setting : kNumbers)
        if (key == setting.key) parse_number(take_word(line), record.*setting.field);
    for (const Moment& moment : kMoments)
        if (key == moment.key) parse_time24(line, moment, record);
}

}  // namespace

int get_filter_info(FilterConf* record) {
    *record = FilterConf{};
    LineReader in(FilterConfF, kSettingLine);
    if (!in.is_open()) return kCannotOpen;
    while (in.next())
        if (!in.piece().starts_with('#')) ParseLine(in.text(), *record);
    return in.failed() ? kCannotOpen : 0;
}

int ProcReconfigFilter() {
    const int pid = SquidPid();
    return pid < 2 || kill(pid, SIGHUP) != 0 ? kCannotSignal : 0;
}
