// The content filter's settings, "/usr/local/squid/etc/filter.conf": a key and its value a line,
// separated by blanks; "#" begins a comment.
#pragma once

#include <string_view>

// The schedule, the field filter_state.
enum FilterState : int { kFilterAlways = 0, kFilterNever = 1, kFilterBetween = 2 };

struct FilterConf {
    int filter_state = 0;
    int from_day = 0;  // 0 is Sunday
    int to_day = 0;
    int from_hour = 0;
    int from_min = 0;
    int to_hour = 0;
    int to_min = 0;
    int block_applet = 0;
    int block_script = 0;
    int block_activex = 0;
    int block_cookies = 0;
    int custom_filter_state = 0;  // a site list is in use
    int enable_log = 0;
    int custom_content_state = 0;  // its kind: 0 ban list, 1 allow list
    int changed = 0;               // some value differs from the file
};

// Takes over what a line of the file sets. A value that cannot be understood changes nothing.
void ParseLine(std::string_view line, FilterConf& record);

// Zeroes the record and fills it from the file. 0, or -37 when the file cannot be read.
[[nodiscard]] int get_filter_info(FilterConf* record);

// 0, or the number of the first value, from 1 in the order of the fields, that is out of range.
int check_filter_info(const FilterConf& record);

// Checks the record and, when `write` is set and it passes, writes all settings in one
// rewrite; other lines of the file stay. 0, what check_filter_info found, or -37 when the file
// cannot be written.
[[nodiscard]] int set_filter_info(const FilterConf& record, bool write);
