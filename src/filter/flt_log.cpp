// The filter log page shows which host of the LAN asked for which address, as the proxy noted it,
// and empties the log. Logs grow: a view reads little more of it than it shows.
#include "filter/flt_log.h"

#include <limits>
#include <new>

#include "base/files.h"
#include "base/log.h"
#include "base/paths.h"
#include "base/replacement.h"
#include "base/words.h"
#include "framework/entries.h"
#include "framework/msgfile.h"
#include "framework/page_room.h"
#include "framework/settings.h"

namespace {

constexpr char kPage[] = "filterlog.htm";

constexpr std::size_t kLoggedRecords = 3;
constexpr std::size_t kTableSize = 36864;  // characters of the rows, before they are escaped

std::size_t shown = 0;  // records on the page

// Hands the records' lines to `use`, oldest first, until it returns false. 0, or -37 when the log
// cannot be read.
template <class Use>
int for_each_record(Use use) try {
    LineReader in(filter_log_path(), kSettingLine);
    if (!in.is_open()) return kCannotOpen;
    while (in.next()) {
        const std::string_view line = in.text();
        if (!line.empty() && !line.starts_with('#') && !use(line)) break;
    }
    return 0;
} catch (const Unreadable&) {
    return kCannotOpen;
}

// At most so many; 0 when the log cannot be read.
std::size_t count_records(std::size_t most) {
    std::size_t count = 0;
    const int result = for_each_record([&](std::string_view) { return ++count < most; });
    return result < 0 ? 0 : count;
}

template <std::size_t N>
void fill_field(std::string_view& line, Text<N>& field) {
    const std::string_view word = take_word(line);
    if (!word.empty()) field = word;
}

void fill_record(std::string_view line, LogRecord& record) {
    fill_field(line, record.first);
    fill_field(line, record.second);
    fill_field(line, record.third);
}

std::string row_of(const LogRecord& record) {
    std::string row = "<tr>\n<td nowrap>";
    row.append(record.first).append("</td>\n<td nowrap>").append(record.second);
    row.append("</td>\n<td nowrap>").append(record.third).append("</td>\n</tr>\n");
    return row;
}

int get_log_record(ValueText& value, LongText& text, int& error) try {
    std::string& rows = text.emplace();
    ListRoom room;
    shown = 0;
    const int result = for_each_record([&](std::string_view line) {
        LogRecord record;
        fill_record(line, record);
        if (shown < kLoggedRecords) {
            log_line("get_filter_log return=%d\n", 1L);
            log_line("%s\t%s\t%s\n", record.first, record.second, record.third);
        }
        const std::string row = row_of(record);
        if (rows.size() + row.size() > kTableSize || !room.take(row)) return false;
        rows += row;
        ++shown;
        return true;
    });
    if (result < 0) {
        GetErrMsgByIndex(Msg::LogUnreadable, value);
        return error = Msg::LogUnreadable;
    }
    log_line("total %d log records", static_cast<long>(shown));
    return 0;
} catch (const std::bad_alloc&) {
    error = Msg::NoMemory;
    return 1;
}

int get_log_left_out(ValueText& value, LongText&, int&) {
    return show(value, left_out_of_lines(shown, count_records(kMostCounted + 1), "records"));
}

constexpr std::array key_fun_tab = std::to_array<KeyFun<NoRecord>>({
    {"log_record", get_log_record, nullptr, false, Shape::rows},
    {"log_left_out", get_log_left_out, nullptr},
    {"clear", nullptr, nullptr},
});

}  // namespace

std::string filter_log_path() {
    Text<kSettingLine + 1> path;
    GetPrivateProfileString(SquidConfF, "cache_access_log", SquidLogF, path.buffer());
    return path.c_str();
}

int get_filter_log(std::size_t first, std::span<LogRecord> records) {
    std::size_t index = 0;
    std::size_t filled = 0;
    const int result = for_each_record([&](std::string_view line) {
        if (filled == records.size()) return false;
        if (index++ >= first) fill_record(line, records[filled++]);
        return true;
    });
    return result < 0 ? result : static_cast<int>(filled);
}

std::size_t get_filter_log_count() {
    return count_records(std::numeric_limits<std::size_t>::max());
}

int clear_filter_log() try {
    const Written written = empty_file(filter_log_path());
    return written == Written::missing ? 0 : code_of(written, kEntryCodes);
} catch (const Unreadable&) {
    return kCannotOpen;
}

PageTables filterlog_tables() { return {rows_of(key_fun_tab), {}}; }

int get_filterlog(const char* message, const FormList* form) {
    return render_page(kPage, filterlog_tables(), message, form);
}

int set_filter_log(const FormList* form, ProcHeads*, ProcFlags*, ProcTails*, int,
                   Message& message) {
    // In both phases: an empty log can be emptied once more.
    log_line("clear=%s", or_null(find_val(form, "clear")));
    if (!field_is(form, "clear", "Clear Log")) return 0;
    const int failed = clear_filter_log();
    if (failed) GetErrMsgByIndex(Msg::LogNotCleared, message);
    return failed;
}
