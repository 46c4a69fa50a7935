// The special applications page opens the side of the internet for one network application after
// the other: VPN protocols, conferences, games, ping. Each is a record of the firewall script.
#include "filter/nat_sap.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/escape.h"
#include "base/files.h"
#include "base/log.h"
#include "base/paths.h"
#include "base/quote.h"
#include "base/replacement.h"
#include "base/words.h"
#include "filter/firewall.h"
#include "filter/firewall_records.h"
#include "framework/answer.h"
#include "framework/msgfile.h"
#include "framework/page_room.h"

namespace {

constexpr char kPage[] = "nat_sap.htm";
constexpr mode_t kScriptMode = 0755;

std::vector<SapItem> sap_fw;   // what the page lists
std::size_t applications = 0;  // those that it has no room for included
bool room_is_divided = false;

// ---- the lists ----

// The protocols as the form offers them, in the order of its list.
struct ProtocolChoice {
    std::string_view label;
    int protocol;
};
constexpr std::array choices = std::to_array<ProtocolChoice>({
    {"TCP", kTcp},
    {"UDP", kUdp},
    {"TCP/UDP", kUdp + kTcp},
    {"none", kNoProtocol},
    {"n/a", kOtherProtocol},
});

std::string enable_cell(const SapItem& item) { return item.enabled ? "1" : "0"; }

template <SapRules SapItem::*Direction>
auto choice_of(const SapItem& item) {
    return std::ranges::find(choices, (item.*Direction).protocol, &ProtocolChoice::protocol);
}

template <SapRules SapItem::*Direction>
std::string protocol_cell(const SapItem& item) {
    return std::to_string(choice_of<Direction>(item) - choices.begin());
}

template <SapRules SapItem::*Direction, std::string SapRules::*Port>
std::string port_cell(const SapItem& item) {
    return '"' + item.*Direction.*Port + '"';
}

std::string name_option(const SapItem& item) { return "\n<option> " + item.name; }

// The same as data: as the fields of the form have them.
std::string enable_word(const SapItem& item) {
    return std::string(item.enabled ? kChecked : kUnchecked);
}
template <SapRules SapItem::*Direction>
std::string protocol_word(const SapItem& item) {
    const auto choice = choice_of<Direction>(item);
    return std::string(choice == choices.end() ? "" : choice->label);
}
template <SapRules SapItem::*Direction, std::string SapRules::*Port>
std::string port_word(const SapItem& item) {
    return item.*Direction.*Port;
}
std::string name_word(const SapItem& item) { return item.name; }

struct List {
    std::string_view name;
    std::string (*cell)(const SapItem& item);
    std::string (*word)(const SapItem& item);
    std::string_view separator;
    std::string (*escape)(std::string_view text) = escape_html;
};
template <SapRules SapItem::*Direction, std::string SapRules::*Port>
constexpr List port_list(std::string_view name) {
    return {name, port_cell<Direction, Port>, port_word<Direction, Port>, ","};
}
constexpr std::array lists = std::to_array<List>({
    {"a_sap_enable", enable_cell, enable_word, ","},
    {"a_inpr", protocol_cell<&SapItem::in>, protocol_word<&SapItem::in>, ","},
    {"a_outpr", protocol_cell<&SapItem::out>, protocol_word<&SapItem::out>, ","},
    port_list<&SapItem::in, &SapRules::port1>("a_port1in"),
    port_list<&SapItem::in, &SapRules::port2>("a_port2in"),
    port_list<&SapItem::out, &SapRules::port1>("a_port1out"),
    port_list<&SapItem::out, &SapRules::port2>("a_port2out"),
    {"nat_sap_list", name_option, name_word, "", escape_options},
});

std::size_t size_in_lists(const SapItem& item) {
    std::size_t size = 0;
    for (const List& list : lists)
        size += list.separator.size() + list.escape(list.cell(item)).size();
    return size;
}

// For all lists, by the first that the page shows.
void divide_room() {
    if (!room_is_divided) drop_what_has_no_room(sap_fw, size_in_lists);
    room_is_divided = true;
}

int show_list(const List& list, LongText& text) {
    divide_room();
    if (sap_fw.empty()) return -1;
    text.emplace();
    for (const SapItem& item : sap_fw) {
        if (wants_data()) {
            *text += list.word(item) + '\n';
            continue;
        }
        if (!text->empty()) *text += list.separator;
        *text += list.cell(item);
    }
    return 0;
}

template <std::size_t Number>
int get_list(LongText& text, int&) {
    return show_list(lists[Number], text);
}

template <std::size_t... Number>
constexpr std::array<ArrayFun, lists.size()> getters_of(std::index_sequence<Number...>) {
    return {{{lists[Number].name, get_list<Number>}...}};
}
constexpr std::array get_ary_tab = getters_of(std::make_index_sequence<lists.size()>());

int get_left_out(ValueText& value, LongText&, int&) {
    return show(value, left_out(sap_fw.size(), applications, "applications"));
}
constexpr std::array key_fun_tab = std::to_array<KeyFun<NoRecord>>({
    {"applications_left_out", get_left_out, nullptr},
    {"v_nat_sap_name", nullptr, nullptr},
    {"v_nat_sap_enable", nullptr, nullptr},
    {"v_nat_sapin_pr_list", nullptr, nullptr},
    {"v_nat_sapin_port01", nullptr, nullptr},
    {"v_nat_sapin_port02", nullptr, nullptr},
    {"v_nat_sapout_pr_list", nullptr, nullptr},
    {"v_nat_sapout_port01", nullptr, nullptr},
    {"v_nat_sapout_port02", nullptr, nullptr},
});

// ---- the form ----

// A port begins with a digit. What follows is the administrator's business as long as it means
// nothing to the shell that runs the script.
bool digichk(std::string_view port) {
    return !port.empty() && is_digit(port[0]) && !shell_character(port);
}

std::string posted_port(const FormList* form, std::string_view key) {
    const std::string_view port = field_text(form, key);
    return std::string(digichk(port) ? port : "");
}

int posted_protocol(const FormList* form, std::string_view key) {
    const auto choice = std::ranges::find(choices, field_text(form, key), &ProtocolChoice::label);
    return choice == choices.end() ? kNoProtocol : choice->protocol;
}

SapItem do_list(const FormList* form) {
    return {
        .name = std::string(field_text(form, "v_nat_sap_name")),
        .enabled = find_val(form, "v_nat_sap_enable") != nullptr,
        .in = {posted_protocol(form, "v_nat_sapin_pr_list"),
               posted_port(form, "v_nat_sapin_port01"), posted_port(form, "v_nat_sapin_port02")},
        .out = {posted_protocol(form, "v_nat_sapout_pr_list"),
                posted_port(form, "v_nat_sapout_port01"), posted_port(form, "v_nat_sapout_port02")},
    };
}

// ---- the actions ----

// The rest of an action: the new script takes effect, or the page says that it was not stored.
void applied(Written written, Message& mesg) {
    if (written == Written::done) return act_change();
    GetErrMsgByIndex(Msg::CannotWriteFile, mesg, FirewallF);
}

Written rewrite_firewall(std::string_view script) {
    Replacement out(FirewallF, FirewallTmpF, kScriptMode);
    out.write(script);
    return out.install();
}

void add(std::string_view script, const SapItem& item, Message& mesg) {
    applied(replace_file(FirewallF, with_record(script, item)), mesg);
}

void remove(std::string_view script, const SapItem& item, Message& mesg) {
    if (!is_reserved(item.name))
        return applied(rewrite_firewall(without_record(script, item.name)), mesg);
    GetErrMsgOr(Msg::ReservedApplication, "Application is reserved and cannot be deleted.", mesg);
}

void update(std::string_view script, const SapItem& item, Message& mesg) {
    std::string module_line;
    const Written written = rewrite_firewall(with_record_updated(script, item, module_line));
    if (written == Written::done && !module_line.empty()) act_module(module_line);
    applied(written, mesg);
}

struct SapAction {
    std::string_view todo;
    bool wants_record;  // of the form's name in the script
    int refusal;
    void (*act)(std::string_view script, const SapItem& item, Message& mesg);
};
constexpr std::array actions = std::to_array<SapAction>({
    {"nat_add_sap", false, Msg::NameInUse, add},
    {"nat_del_sap", true, Msg::NoneToDelete, remove},
    {"nat_update_sap", true, Msg::NoneToUpdate, update},
});

// What an action has to tell goes to `mesg`.
void set_a_action(std::string_view todo, const SapItem& item, Message& mesg) {
    for (const SapAction& action : actions) {
        if (action.todo != todo || item.name.empty()) continue;
        const std::optional<std::string> script = read_file(FirewallF);
        if (!script) return;
        const std::vector<SapItem> items = parse_firewall(*script);
        const bool exists = std::ranges::count(items, item.name, &SapItem::name) > 0;
        if (exists == action.wants_record)
            action.act(*script, item, mesg);
        else
            refuse(action.refusal, mesg);
    }
    // All that these have to tell is why the script is as it was.
    if (!mesg.empty()) refuse_after_all();
}

int sap_main(const FormList* form, const char* message) {
    Message mesg;
    const char* todo = find_val(form, "todo");
    gather([&] {
        if (todo && !message) set_a_action(todo, do_list(form), mesg);
        sap_fw = parse_firewall(read_file(FirewallF).value_or(""));
    });
    applications = sap_fw.size();
    room_is_divided = false;
    // An empty text, not none: the lists of an appliance without applications fail, which is
    // nothing to complain of.
    return render_page(kPage, nat_sap_tables(), message ? message : mesg.c_str(), form);
}

}  // namespace

PageTables nat_sap_tables() { return {rows_of(key_fun_tab), get_ary_tab}; }

int get_sap(const char* message, const FormList* form) { return sap_main(form, message); }

int set_sap(const FormList* form, ProcHeads*, ProcFlags*, ProcTails*, int mode, Message& message) {
    // The getter acts, once all phases are over.
    if (mode == kCheck || mode == kSet) return 0;
    return sap_main(form, message.empty() ? nullptr : message.c_str());
}
