// The content filter's settings, "/usr/local/squid/etc/filter.conf": a key and its value a line,
// separated by blanks; "#" begins a comment.
#pragma once

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

// Zeroes the record and fills it from the file; a value that cannot be understood stays 0. 0, or
// -37 when the file cannot be read.
int get_filter_info(FilterConf* record);

// Makes the proxy read its settings again: a hang-up signal to the pid in its pid file. 0, or -36
// when it does not run. (Action "RCFilter".)
int ProcReconfigFilter();
