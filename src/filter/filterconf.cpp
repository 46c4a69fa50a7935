#include "filter/filterconf.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
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

constexpr int kMostHour = 23;
constexpr int kMostMinute = 59;

// What a word of a setting says. A setting has one word, or a day and a time.
enum class Kind { number, on_off, day, hour, minute };

struct Word {
    std::string_view key;
    Kind kind;
    int FilterConf::*field;
    int most;  // the greatest value; the least is 0
};

// In the order in which values are numbered. Those of a setting stand in the order of its words,
// and settings are written in the order of their first ones.
constexpr std::array kWords = std::to_array<Word>({
    {"filter_state", Kind::number, &FilterConf::filter_state, kFilterBetween},
    {"filter_from", Kind::day, &FilterConf::from_day, 6},
    {"filter_to", Kind::day, &FilterConf::to_day, 6},
    {"filter_from", Kind::hour, &FilterConf::from_hour, kMostHour},
    {"filter_from", Kind::minute, &FilterConf::from_min, kMostMinute},
    {"filter_to", Kind::hour, &FilterConf::to_hour, kMostHour},
    {"filter_to", Kind::minute, &FilterConf::to_min, kMostMinute},
    {"block_applet", Kind::on_off, &FilterConf::block_applet, 1},
    {"block_script", Kind::on_off, &FilterConf::block_script, 1},
    {"block_activex", Kind::on_off, &FilterConf::block_activex, 1},
    {"block_cookies", Kind::on_off, &FilterConf::block_cookies, 1},
    {"custom_filter_state", Kind::on_off, &FilterConf::custom_filter_state, 1},
    {"enable_log", Kind::on_off, &FilterConf::enable_log, 1},
    {"custom_content_state", Kind::number, &FilterConf::custom_content_state, 2},
});

bool is_in_range(int value, int most) { return value >= 0 && value <= most; }

// The words of a line behind its key; those that are missing are empty.
using Words = std::array<std::string_view, 3>;

int day_number(std::string_view word) {
    for (std::size_t day = 1; day < days.size(); ++day)
        if (StrCmpi(word, days[day]) == 0) return static_cast<int>(day);
    return 0;  // Sunday, or no day at all
}

// A number as "%d" takes it; nothing when the word does not begin with one.
std::optional<int> number_in(std::string_view word) {
    if (word.starts_with('+') && !word.starts_with("+-")) word.remove_prefix(1);
    int number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    return error == std::errc() ? std::optional(number) : std::nullopt;
}

bool has_time(const Words& words) {
    return !words[2].empty() && is_in_range(to_int(words[1]), kMostHour) &&
           is_in_range(to_int(words[2]), kMostMinute);
}

// The value that a line sets; nothing when the word is missing or tells none. Of a day and a time
// that is wrong nothing counts, and a day that is none is Sunday.
std::optional<int> value_in(const Words& words, Kind kind) {
    const std::string_view word = words[0];
    if (kind == Kind::number) return number_in(word);
    if (kind == Kind::on_off) {
        if (word.empty()) return std::nullopt;
        return StrCmpi(word, "on") == 0 || StrCmpi(word, "enable") == 0;
    }
    if (!has_time(words)) return std::nullopt;
    if (kind == Kind::day) return day_number(word);
    return to_int(words[kind == Kind::hour ? 1 : 2]);
}

std::string text_of(int value, Kind kind) {
    if (kind == Kind::on_off) return on_off_text(value);
    if (kind == Kind::day) return std::string(days.at(static_cast<std::size_t>(value)));
    return std::to_string(value);
}

std::vector<SpacedSetting> settings_of(const FilterConf& record) {
    std::vector<SpacedSetting> settings;
    for (const Word& each : kWords) {
        const std::string text = text_of(record.*each.field, each.kind);
        const auto same = std::ranges::find(settings, each.key, &SpacedSetting::key);
        if (same == settings.end())
            settings.push_back({each.key, text});
        else
            same->value += " " + text;
    }
    return settings;
}

}  // namespace

void ParseLine(std::string_view line, FilterConf& record) {
    if (line.starts_with('#')) return;
    const std::string_view key = take_word(line);
    Words words;
    for (std::string_view& word : words) word = take_word(line);
    for (const Word& each : kWords)
        if (key == each.key)
            record.*each.field = value_in(words, each.kind).value_or(record.*each.field);
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
    const auto is_out = [&](const Word& word) {
        return !is_in_range(record.*word.field, word.most);
    };
    const auto first = std::ranges::find_if(kWords, is_out);
    return first == kWords.end() ? 0 : static_cast<int>(first - kWords.begin()) + 1;
}

int set_filter_info(const FilterConf& record, bool write) {
    const int out_of_range = check_filter_info(record);
    if (out_of_range || !write) return out_of_range;
    return code_of(write_settings(FilterConfF, settings_of(record)), kEntryCodes);
}
