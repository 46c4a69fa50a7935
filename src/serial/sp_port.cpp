// The modem page chooses the modem, its initialisation string, the speed of the serial port and the
// way of dialling, and takes the driver descriptions of modems that the list does not know. What is
// in force is shown by the overview of the serial port: here a field left empty stays as it is.
#include "serial/sp_port.h"

#include <new>
#include <string>

#include "appliance/account_fields.h"
#include "appliance/ppp_conf.h"
#include "base/escape.h"
#include "base/files.h"
#include "base/log.h"
#include "base/paths.h"
#include "base/words.h"
#include "framework/html-lib.h"
#include "framework/msgfile.h"
#include "framework/page_room.h"
#include "framework/profile.h"
#include "serial/inf_parser.h"
#include "serial/modem_list.h"

namespace {

constexpr char kPage[] = "sp_port.htm";

PPPConf conf;
bool offers_defaults = false;

std::string option_of(const Modem& modem) {
    return std::string("<option>").append(modem.name).append("\n");
}

// For the array of a script.
std::string string_of(const Modem& modem) {
    return std::string("'").append(modem.init).append("',\n");
}

std::size_t size_in_lists(const Modem& modem) {
    return escape_options(option_of(modem)).size() + escape_html(string_of(modem)).size();
}

// Read by the first list of the page that needs it, and kept for the other.
ModemList MList;
std::size_t modems = 0;  // those that the page has no room for included

// Builds a text of all modems.
template <std::string (*TextOf)(const Modem&)>
int text_of_modems(LongText& text, int& error) try {
    if (MList.empty()) {
        MList = GetModemList(InitMode::script);
        modems = MList.size();
        drop_what_has_no_room(MList, size_in_lists);
    }
    if (MList.empty()) {
        error = Msg::NoModems;
        return 1;
    }
    text.emplace();
    for (const Modem& modem : MList) *text += TextOf(modem);
    return 0;
} catch (const std::bad_alloc&) {
    MList.clear();
    error = Msg::NoMemory;
    return 1;
} catch (const Unreadable&) {
    error = Msg::NoModems;
    return 1;
}

int get_modemlist(ValueText&, LongText& text, int& error) {
    return text_of_modems<option_of>(text, error);
}

int get_array1(LongText& text, int& error) {
    const int failed = text_of_modems<string_of>(text, error);
    if (!failed) text->erase(text->size() - 2);
    return failed;
}

int get_left_out(ValueText& value, LongText&, int&) {
    value = left_out(MList.size(), modems, "modems");
    return 0;
}

int save_nothing(const char*, int, Message&, PPPConf&) { return 0; }

int save_speed(const char* value, int mode, Message&, PPPConf& record) {
    if (mode == kSet) store(record.BaudRate, static_cast<std::int32_t>(to_long(value)), record);
    return 0;
}

int save_modem(const char* value, int mode, Message&, PPPConf& record) {
    if (mode == kSet) store(record.Modem, value, record);
    return 0;
}

bool ensure_modem_file() {
    return exists(ModemFile) || replace_file(ModemFile, kNewModemList) == Written::done;
}

// Behind nat_modem_list in the table, so that Modem is the chosen one.
int save_initstr(const char* value, int mode, Message& message, PPPConf& record) {
    if (mode == kCheck) return 0;
    constexpr std::string_view kQuote = "'";  // the chat script has the string between two of them
    const int refused = check_characters(value, kQuote, "Init string", message);
    if (refused) return refused;
    if (!ensure_modem_file()) {
        GetErrMsgByIndex(Msg::CannotOpenFile, message, ModemFile);
        return 1;
    }
    store(record.InitStr, value, record);
    if (record.Modem != kOtherModem) return 0;
    if (SetProfileString(kOtherModem, InitKey0, value, ModemFile) == 0) return 0;
    refuse(Msg::InitNotStored, message);
    return 1;
}

int save_dialtype(const char* value, int mode, Message&, PPPConf& record) {
    if (mode == kCheck) return 0;
    const std::string_view type = value;
    store(record.DialType, type == kDialTypes[2] ? 2 : type == kDialTypes[1] ? 1 : 0, record);
    return 0;
}

constexpr std::array key_fun_tab = std::to_array<KeyFun<PPPConf>>({
    {"show_modemlist", get_modemlist, save_nothing},
    {"modems_left_out", get_left_out, nullptr},
    {"nat_serspeed_list", nullptr, save_speed},
    {"nat_modem_list", nullptr, save_modem},
    {"nat_init_string", nullptr, save_initstr},
    {"nat_dial_type_radio", nullptr, save_dialtype},
});

constexpr ArrayFun get_ary_tab[] = {{"a_init", get_array1}};

// The record as a form that was posted.
FormList form_of(const PPPConf& record) {
    FormList form;
    const auto add = [&](const char* key, std::string_view value) {
        InsertEntry(form, FormEntry{key, form.keep(value)});
    };
    add("nat_serspeed_list", std::to_string(record.BaudRate));
    add("nat_modem_list", record.Modem);
    add("nat_init_string", record.InitStr);
    add("nat_dial_type_radio", kDialTypes.at(static_cast<std::size_t>(record.DialType)));
    return form;
}

// Imports an uploaded driver description; `outcome` is what the page says about it.
void import_modems(const FormList* form, Message& outcome) {
    const char* path = find_val(form, "load_file");
    log_line("load_file=%s", or_null(path));
    int added = 0;
    const bool imported = path && *path && ParserInfFile(path, &added) == 0;
    GetErrMsgByIndex(imported ? Msg::ModemsImported : Msg::ModemsNotImported, outcome,
                     std::to_string(added));
    log_line("%s", outcome.view());
}

int save(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
         Message& message) {
    PPPConf record;
    const int unreadable = read_record(&record, message);
    if (unreadable) return unreadable;
    told(replace_file(UserF, record.User));
    bool any = false;
    const int refused =
        save_fields(key_fun_tab, form, Present::only_filled, kSet, message, record, any);
    if (refused || !any || !record.Changed) return refused;
    const int unsaved = SavePPPConf(record, message);
    if (unsaved) return unsaved;
    AddProcToQueue(kSaveDiald, heads, queued, tails);
    AddProcToQueue(kSavePPPOn, heads, queued, tails);
    return 0;
}

// The next page is the answer, so nothing is rendered here.
void default_port() {
    conf = d_conf;
    offers_defaults = true;
}

}  // namespace

int get_sp_port(const char* message, const FormList* form) {
    if (offers_defaults) {
        const FormList defaults = form_of(conf);
        return html_parser(kPage, key_fun_tab, get_ary_tab, message, &defaults);
    }
    Message text;
    if (!message && field_is(form, "todo", "upload")) {
        import_modems(form, text);
        message = text.c_str();
    }
    Message failure;
    if (read_record(&conf, failure) != 0 && !message) message = failure.c_str();
    return html_parser(kPage, key_fun_tab, get_ary_tab, message, form);
}

int set_sp_port(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                int mode, Message& message) {
    if (mode == kCheck) return 0;
    if (field_is(form, "todo", "save")) return save(form, heads, queued, tails, message);
    if (field_is(form, "todo", "port_defaults")) default_port();
    if (field_is(form, "todo", "instatll")) cgi_err("Action", "Do_Install");
    return 0;
}
