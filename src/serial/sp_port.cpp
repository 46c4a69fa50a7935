// The modem page chooses the modem, its initialisation string, the speed of the serial port and the
// way of dialling, and takes the driver descriptions of modems that the list does not know. What is
// in force is shown by the overview of the serial port: here a field left empty stays as it is.
#include "serial/sp_port.h"

#include <new>
#include <string>

#include "appliance/account_fields.h"
#include "appliance/record_page.h"
#include "base/escape.h"
#include "base/files.h"
#include "base/log.h"
#include "base/paths.h"
#include "base/replacement.h"
#include "base/words.h"
#include "framework/answer.h"
#include "framework/html-lib.h"
#include "framework/page_room.h"
#include "framework/profile.h"
#include "serial/inf_parser.h"
#include "serial/modem_list.h"

namespace {

constexpr char kPage[] = "sp_port.htm";

bool offers_defaults = false;  // the page that is rendered next

std::string option_of(const Modem& modem) {
    return std::string("<option>").append(modem.name).append("\n");
}

// For the array of a script.
std::string string_of(const Modem& modem) {
    if (wants_data()) return std::string(modem.init) + '\n';
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
        MList = GetModemList(wants_data() ? InitMode::plain : InitMode::script);
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
    // The comma behind the last one.
    if (!failed && !wants_data()) text->erase(text->size() - 2);
    return failed;
}

int get_left_out(ValueText& value, LongText&, int&) {
    return show(value, left_out(MList.size(), modems, "modems"));
}

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

// What is none of them is tone.
int save_dialtype(const char* value, int mode, Message&, PPPConf& record) {
    if (mode == kCheck) return 0;
    const std::string_view type = value;
    store(record.DialType, type == kDialTypes[2] ? 2 : type == kDialTypes[1] ? 1 : 0, record);
    return 0;
}

// ---- the values in force ----

int get_dialtype(ValueText& value, LongText&, int&) {
    const auto type = static_cast<std::size_t>(shown_record.DialType);
    return show(value, type < kDialTypes.size() ? kDialTypes[type] : "");
}

constexpr std::array modem_rows = std::to_array<KeyFun<PPPConf>>({
    {"nat_serspeed_list", get_number<&PPPConf::BaudRate>, save_speed},
    {"nat_modem_list", get_text<&PPPConf::Modem>, save_modem},
    {"nat_init_string", get_text<&PPPConf::InitStr>, save_initstr},
    {"nat_dial_type_radio", get_dialtype, save_dialtype},
});

constexpr std::array list_rows = std::to_array<KeyFun<PPPConf>>({
    {"show_modemlist", get_modemlist, nullptr, false, Shape::options},
    {"modems_left_out", get_left_out, nullptr},
    {"load_file", nullptr, nullptr},
});

constexpr std::array key_fun_tab = join_rows(list_rows, without_getters(modem_rows));
constexpr std::array kModemGetters = getters_of(modem_rows);

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

// Imports an uploaded driver description, and tells how that went.
void import_modems(const FormList* form, PageMessage& note) {
    const char* path = find_val(form, "load_file");
    log_line("load_file=%s", or_null(path));
    int added = 0;
    const bool imported = path && *path && ParserInfFile(path, &added) == 0;
    flush_folders();
    note.tell(imported ? Msg::ModemsImported : Msg::ModemsNotImported, std::to_string(added));
    if (!imported) refuse_after_all();
    log_line("%s", note.text());
}

int save(const FormList* form, const Actions& actions, Message& message) {
    PPPConf record;
    const auto walk = [&] {
        // For the dial scripts, at every save, whatever comes of it.
        told(replace_file(UserF, record.User));
        return save_fields(key_fun_tab, form, Present::only_filled, kSet, message, record);
    };
    const Saved saved = save_record(record, kSet, message, walk);
    if (!saved.stored) return saved.refused;
    actions.add(kSaveDiald);
    actions.add(kSavePPPOn);
    return 0;
}

}  // namespace

constinit const std::span<const KeyGetter> modem_getters = kModemGetters;

PageTables sp_port_tables() { return {rows_of(key_fun_tab), get_ary_tab}; }

int get_sp_port(const char* message, const FormList* form) {
    if (offers_defaults && wants_data()) {
        shown_record = d_conf;
        std::vector keys = join_getters({sp_port_tables().keys, modem_getters});
        return render_page(kPage, {keys, get_ary_tab}, message, form);
    }
    if (offers_defaults) {
        const FormList defaults = form_of(d_conf);
        return render_page(kPage, sp_port_tables(), message, &defaults);
    }
    PageMessage note(message);
    if (!message && field_is(form, "todo", "upload")) import_modems(form, note);
    read_shown_record(note);
    return render_page(kPage, sp_port_tables(), note.text(), form);
}

int set_sp_port(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                int mode, Message& message) {
    if (mode == kCheck) return 0;
    if (field_is(form, "todo", "save")) return save(form, {heads, queued, tails}, message);
    if (field_is(form, "todo", "port_defaults")) offers_defaults = true;
    // Spelled as the forms send it.
    if (field_is(form, "todo", "instatll")) cgi_err("Action", "Do_Install");
    return 0;
}
