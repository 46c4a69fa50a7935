// The content filter page schedules the filtering of the LAN's web traffic and chooses what is
// taken out of web pages, whether a list of sites is in use, and which one.
#include "filter/nat_filter.h"

#include <algorithm>
#include <string>

#include "base/format.h"
#include "base/log.h"
#include "base/words.h"
#include "filter/filterconf.h"
#include "filter/web_redirect.h"
#include "framework/msgfile.h"
#include "framework/settings.h"

namespace {

constexpr char kPage[] = "nat_filter.htm";

// The settings as the form changes them.
struct FilterEdit : FilterConf {
    const FormList* form = nullptr;  // for savers that look at more than their own field
};

// The schedule as forms name it; whatever else a form says is "never".
constexpr std::string_view kAlways = "always";
constexpr std::string_view kBetween = "between";

// Tells whether the value is another one than before.
bool change(int& field, int value, FilterConf& record) {
    if (field == value) return false;
    field = value;
    record.changed = 1;
    return true;
}

// A DMZ host takes the connections that the filter is to see; the page warns of it.
int save_filter_when(const char* value, int, Message&, FilterEdit& record) {
    const std::string_view when = value;
    const int state = when == kAlways    ? kFilterAlways
                      : when == kBetween ? kFilterBetween
                                         : kFilterNever;
    if (!change(record.filter_state, state, record)) return 0;
    // An appliance without the script has nothing to redirect.
    if (set_rc_service(state) != 0 && first_failure()) return 1;
    if (state != kFilterNever && is_checked(field_text(record.form, "enable_dmz")))
        warn_no = Msg::FilterBesideDmz;
    return 0;
}

template <int FilterConf::*Field>
int save_day(const char* value, int, Message&, FilterEdit& record) {
    const auto day = std::find(days.begin(), days.end(), value);
    change(record.*Field, day == days.end() ? 0 : static_cast<int>(day - days.begin()), record);
    return 0;
}

template <int FilterConf::*Field>
int save_number(const char* value, int, Message&, FilterEdit& record) {
    change(record.*Field, to_int(value), record);
    return 0;
}

template <int FilterConf::*Field>
int save_switch(const char* value, int, Message&, FilterEdit& record) {
    change(record.*Field, is_checked(value), record);
    return 0;
}

// A list that is switched off keeps its kind.
int save_sitelist_type(const char* value, int, Message&, FilterEdit& record) {
    const std::string_view type = value;
    if (type == "banned") change(record.custom_content_state, 0, record);
    if (type == "allowed") change(record.custom_content_state, 1, record);
    change(record.custom_filter_state, type != "off", record);
    return 0;
}

// ---- the values in force ----

FilterConf shown_filter;

int get_filter_when(ValueText& value, LongText&, int&) {
    switch (shown_filter.filter_state) {
        case kFilterAlways:
            return show(value, kAlways);
        case kFilterBetween:
            return show(value, kBetween);
        default:
            return show(value, "never");
    }
}

// A number that is out of range counts as 0; nothing but what is shown changes.
int shown_or_0(int number, int most) { return number < 0 || number > most ? 0 : number; }

template <int FilterConf::*Field>
int get_day(ValueText& value, LongText&, int&) {
    const int day = shown_or_0(shown_filter.*Field, static_cast<int>(days.size()) - 1);
    return show(value, days[static_cast<std::size_t>(day)]);
}

template <int FilterConf::*Field, int Most>
int get_two_digits(ValueText& value, LongText&, int&) {
    const int number = shown_or_0(shown_filter.*Field, Most);
    return show(value, (number < 10 ? "0" : "") + std::to_string(number));
}

template <int FilterConf::*Field>
int get_filter_switch(ValueText& value, LongText&, int&) {
    return show_switch(value, shown_filter.*Field != 0);
}

int get_sitelist_type(ValueText& value, LongText&, int&) {
    if (!shown_filter.custom_filter_state) return show(value, "off");
    return show(value, shown_filter.custom_content_state == 1 ? "allowed" : "banned");
}

using Row = KeyFun<FilterEdit>;

template <int FilterConf::*Field>
constexpr Row switch_row(std::string_view key) {
    return {key, get_filter_switch<Field>, save_switch<Field>};
}

template <int FilterConf::*Field, int Most>
constexpr Row clock_row(std::string_view key) {
    return {key, get_two_digits<Field, Most>, save_number<Field>};
}

constexpr std::array filter_rows = std::to_array<Row>({
    {"filter_when", get_filter_when, save_filter_when},
    {"filter_daystart", get_day<&FilterConf::from_day>, save_day<&FilterConf::from_day>},
    {"filter_dayfinish", get_day<&FilterConf::to_day>, save_day<&FilterConf::to_day>},
    clock_row<&FilterConf::from_hour, 23>("filter_starttime"),
    clock_row<&FilterConf::from_min, 59>("start_min"),
    clock_row<&FilterConf::to_hour, 23>("filter_finishtime"),
    clock_row<&FilterConf::to_min, 59>("finish_min"),
    switch_row<&FilterConf::block_applet>("remove_java"),
    switch_row<&FilterConf::block_script>("remove_js"),
    switch_row<&FilterConf::block_activex>("remove_ax"),
    switch_row<&FilterConf::block_cookies>("remove_cookies"),
    switch_row<&FilterConf::enable_log>("enable_filter_log"),
    {"sitelist_type", get_sitelist_type, save_sitelist_type},
});

constexpr std::array key_fun_tab = without_getters(filter_rows);
constexpr std::array kFilterGetters = getters_of(filter_rows);

}  // namespace

constinit const std::span<const KeyGetter> filter_getters = kFilterGetters;

int read_shown_filter() { return get_filter_info(&shown_filter); }

PageTables nat_filter_tables() { return {rows_of(key_fun_tab), {}}; }

int get_nat_filter(const char* message, const FormList* form) {
    return render_page(kPage, nat_filter_tables(), message, form);
}

int set_nat_filter(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                   int mode, Message& message) {
    if (!field_is(form, "todo", "save")) return 0;
    FilterEdit record;
    record.form = form;
    const int unreadable = get_filter_info(&record);
    if (unreadable) {
        GetErrMsgByIndex(Msg::NoFilterSettings, message);
        return unreadable;
    }
    // The savers store in either mode: checking needs the whole record.
    const int refused = save_fields(key_fun_tab, form, Present::also_empty, kSet, message, record);
    if (refused || !record.changed) return refused;

    const int failed = set_filter_info(record, mode == kSet);
    if (failed) {
        message = format_text("%s value in set_filter_info return error:%d",
                              mode == kSet ? "Set" : "Check", long{failed});
        return failed;
    }
    if (mode == kSet) AddProcToQueue(kReconfigFilter, heads, queued, tails);
    return 0;
}
