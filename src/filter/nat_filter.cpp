// The content filter page schedules the filtering of the LAN's web traffic and chooses what is
// taken out of web pages, whether a list of sites is in use, and which one.
#include "filter/nat_filter.h"

#include <algorithm>

#include "base/format.h"
#include "base/log.h"
#include "base/words.h"
#include "filter/filterconf.h"
#include "filter/web_redirect.h"
#include "framework/msgfile.h"
#include "framework/settings.h"

namespace {

constexpr char kPage[] = "nat_filter.htm";

const FormList* posted;  // the form being saved, for savers that look at more than their own field

// Tells whether the value is another one than before.
bool change(int& field, int value, FilterConf& record) {
    if (field == value) return false;
    field = value;
    record.changed = 1;
    return true;
}

// A DMZ host takes the connections that the filter is to see; the page warns of it.
int save_filter_when(const char* value, int, Message&, FilterConf& record) {
    const std::string_view when = value;
    const int state = when == "always"    ? kFilterAlways
                      : when == "between" ? kFilterBetween
                                          : kFilterNever;
    if (!change(record.filter_state, state, record)) return 0;
    // An appliance without the script has nothing to redirect.
    if (set_rc_service(state) != 0 && first_failure()) return 1;
    if (state != kFilterNever && field_is(posted, "enable_dmz", "checked"))
        warn_no = Msg::FilterBesideDmz;
    return 0;
}

template <int FilterConf::*Field>
int save_day(const char* value, int, Message&, FilterConf& record) {
    const auto day = std::find(days.begin(), days.end(), value);
    change(record.*Field, day == days.end() ? 0 : static_cast<int>(day - days.begin()), record);
    return 0;
}

template <int FilterConf::*Field>
int save_number(const char* value, int, Message&, FilterConf& record) {
    change(record.*Field, to_int(value), record);
    return 0;
}

template <int FilterConf::*Field>
int save_switch(const char* value, int, Message&, FilterConf& record) {
    change(record.*Field, std::string_view(value) == "checked", record);
    return 0;
}

// A list that is switched off keeps its kind.
int save_sitelist_type(const char* value, int, Message&, FilterConf& record) {
    const std::string_view type = value;
    if (type == "banned") change(record.custom_content_state, 0, record);
    if (type == "allowed") change(record.custom_content_state, 1, record);
    change(record.custom_filter_state, type != "off", record);
    return 0;
}

constexpr std::array key_fun_tab = std::to_array<KeyFun<FilterConf>>({
    {"filter_when", nullptr, save_filter_when},
    {"filter_daystart", nullptr, save_day<&FilterConf::from_day>},
    {"filter_dayfinish", nullptr, save_day<&FilterConf::to_day>},
    {"filter_starttime", nullptr, save_number<&FilterConf::from_hour>},
    {"start_min", nullptr, save_number<&FilterConf::from_min>},
    {"filter_finishtime", nullptr, save_number<&FilterConf::to_hour>},
    {"finish_min", nullptr, save_number<&FilterConf::to_min>},
    {"remove_java", nullptr, save_switch<&FilterConf::block_applet>},
    {"remove_js", nullptr, save_switch<&FilterConf::block_script>},
    {"remove_ax", nullptr, save_switch<&FilterConf::block_activex>},
    {"remove_cookies", nullptr, save_switch<&FilterConf::block_cookies>},
    {"enable_filter_log", nullptr, save_switch<&FilterConf::enable_log>},
    {"sitelist_type", nullptr, save_sitelist_type},
});

}  // namespace

int get_nat_filter(const char* message, const FormList* form) {
    return html_parser(kPage, key_fun_tab, {}, message, form);
}

int set_nat_filter(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                   int mode, Message& message) {
    posted = form;
    if (!field_is(form, "todo", "save")) return 0;
    FilterConf record;
    const int unreadable = get_filter_info(&record);
    if (unreadable) {
        GetErrMsgByIndex(Msg::NoFilterSettings, message);
        return unreadable;
    }
    // The savers store in either mode: checking needs the whole record.
    bool any = false;
    const int refused =
        save_fields(key_fun_tab, form, Present::also_empty, kSet, message, record, any);
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
