// The filter log: the proxy's access log, a line a record and "#" comments, and its page,
// "filterlog.htm". The proxy's settings name the file, "/usr/local/squid/etc/squid.conf" by
// "cache_access_log".
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "framework/page.h"

// Where the log is. Throws Unreadable when the proxy's settings cannot be read.
std::string filter_log_path();

// The first three words of a line.
struct LogRecord {
    Text<32> first;
    Text<32> second;
    Text<80> third;
};

// The number of records; 0 when the log cannot be read.
std::size_t get_filter_log_count();

// Empties the log; a missing one stays missing. 0 or -37.
[[nodiscard]] int clear_filter_log();

// Renders the page with the log's oldest records as table rows, as many as the page has room for.
// Message 37 when the log cannot be read.
int get_filterlog(const char* message, const FormList* form);

// Empties the log, when checking already, if the field `clear` is "Clear Log". Refuses with message
// 31.
int set_filter_log(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                   int mode, Message& message);

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

// Fills records from record number `first` (from 0) on. A line of fewer words leaves the fields
// behind them as they were. Returns how many it filled, or -37 when the log cannot be read.
int get_filter_log(std::size_t first, std::span<LogRecord> records);

// What the page shows and takes.
PageTables filterlog_tables();
