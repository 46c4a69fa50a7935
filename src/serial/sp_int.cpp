// The ISP settings page keeps the account that the modem dials in with: user name and password, up
// to three telephone numbers, how long an idle link stays up, a fixed address if the provider gives
// one, and the appliance's DNS servers.
#include "serial/sp_int.h"

#include <string_view>

#include "appliance/account_fields.h"
#include "appliance/addresses.h"
#include "appliance/dns_fields.h"
#include "appliance/record_page.h"
#include "base/log.h"
#include "base/paths.h"
#include "base/words.h"

namespace {

constexpr char kPage[] = "sp_int.htm";

int refuse_entry(int number, Message& message) {
    GetErrMsgByIndex(number, message, PppConfFile);
    return 1;
}

template <auto Field>
int save_text(const char* value, int mode, Message&, PPPConf& record) {
    if (mode == kSet) store(record.*Field, value, record);
    return 0;
}

int save_ac_pwd(const char* value, int mode, Message& message, PPPConf& record) {
    if (mode == kCheck) return check_password(value, message);
    return save_text<&PPPConf::Password>(value, mode, message, record);
}

constexpr char kFirstNumber[] = "Telephone number";
constexpr char kSecondNumber[] = "Second number";
constexpr char kThirdNumber[] = "Third number";

// The dial script's shell reads the numbers as they are typed.
template <auto Field, const char* Label>
int save_telephone(const char* value, int mode, Message& message, PPPConf& record) {
    constexpr std::string_view kMeansSomethingThere = ";$&|<>()'\"\\`";
    if (mode == kCheck) return check_characters(value, kMeansSomethingThere, Label, message);
    return save_text<Field>(value, mode, message, record);
}

int save_idle(const char* value, int mode, Message& message, PPPConf& record) {
    if (mode == kCheck) return check_idle_time(value, message);
    store(record.Idle, to_int(value), record);
    return 0;
}

// A field that must not be empty: message `Missing` when it is.
template <int Missing, FieldSaver<PPPConf> Save>
int required(const char* value, int mode, Message& message, PPPConf& record) {
    if (mode == kCheck && !*value) return refuse_entry(Missing, message);
    return Save(value, mode, message, record);
}

// A provider that is dialled in to assigns the address, unless the form says "fixed".
int save_dynamic_ip(const char* value, int mode, Message&, PPPConf& record) {
    if (mode == kSet) store(record.DynamicIP, int{std::string_view(value) != "fixed"}, record);
    return 0;
}

// The address is assembled in both phases; only the set phase writes the record.
template <void (*AddOctet)(AddressText&, const char*)>
int save_octet(const char* value, int, Message& message, PPPConf& record) {
    if (!octet_fits(value)) return refuse_entry(Msg::BadAddress, message);
    AddOctet(record.IPBuf, value);
    return 0;
}

int save_ip4(const char* value, int mode, Message& message, PPPConf& record) {
    const int refused = save_octet<last_octet>(value, mode, message, record);
    if (!refused) store(record.IP, record.IPBuf, record);
    return refused;
}

// ---- the values in force ----

int get_dynamic_ip(ValueText& value, LongText&, int&) {
    return show(value, shown_record.DynamicIP ? "dynamic" : "fixed");
}

int get_password_kept(ValueText& value, LongText&, int&) {
    return show_kept(value, shown_record.Password);
}

constexpr std::array kept_row = std::to_array<KeyFun<PPPConf>>({
    {"nat_ac_pwd_kept", get_password_kept, nullptr},
    {"keep_secrets", nullptr, nullptr},
});

// The page's own script compares the password with its confirmation: nothing here looks at that.
constexpr std::array account_rows = std::to_array<KeyFun<PPPConf>>({
    {"nat_ac_name", get_text<&PPPConf::User>, required<Msg::NoUserName, save_text<&PPPConf::User>>},
    {"nat_ac_pwd", show_no_secret, save_ac_pwd, true},
    {"nat_ac_pwd_v", show_no_secret, nullptr, true},
    {"nat_tel01", get_text<&PPPConf::Phone1>,
     required<Msg::NoTelephone, save_telephone<&PPPConf::Phone1, kFirstNumber>>},
    {"nat_tel02", get_text<&PPPConf::Phone2>, save_telephone<&PPPConf::Phone2, kSecondNumber>},
    {"nat_tel03", get_text<&PPPConf::Phone3>, save_telephone<&PPPConf::Phone3, kThirdNumber>},
    {"nat_idle_time", get_number<&PPPConf::Idle>, required<Msg::NoIdleTime, save_idle>},
    {"nat_isp_ip_radio", get_dynamic_ip, save_dynamic_ip},
    {"nat_isp_ip01", get_octet<&PPPConf::IP, 1>, save_octet<first_octet>},
    {"nat_isp_ip02", get_octet<&PPPConf::IP, 2>, save_octet<middle_octet>},
    {"nat_isp_ip03", get_octet<&PPPConf::IP, 3>, save_octet<middle_octet>},
    {"nat_isp_ip04", get_octet<&PPPConf::IP, 4>, save_ip4},
});

constexpr std::array dns_name_row = std::to_array<KeyFun<PPPConf>>({
    {"dns_name", get_text<&PPPConf::DNS>, nullptr},
});

constexpr std::array key_fun_tab = join_rows(dns_name_row, kept_row, without_getters(account_rows),
                                             without_getters(dns_rows<PPPConf>));
constexpr std::array kAccountGetters = getters_of(join_rows(kept_row, account_rows));

}  // namespace

constinit const std::span<const KeyGetter> account_getters = kAccountGetters;

PageTables sp_int_tables() { return {rows_of(key_fun_tab), {}}; }

int get_sp_int(const char* message, const FormList* form) {
    PageMessage note(message);
    read_shown_record(note);
    return render_page(kPage, sp_int_tables(), note.text(), form);
}

int set_sp_int(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
               int mode, Message& message) {
    if (!field_is(form, "todo", "save")) return 0;
    PPPConf record;
    const auto walk = [&] {
        bool any = false;
        return save_fields_and_dns(key_fun_tab, form, mode, message, record, any);
    };
    const Saved saved = save_record(record, mode, message, walk);
    if (saved.refused) log_line("%s", message.view());
    if (!saved.stored) return saved.refused;
    // All of them, whichever field changed: each file is written from the whole record.
    for (const Action action : {kSaveDiald, kSaveSecret, kSaveTel, kSaveOptions, kSaveFilter})
        AddProcToQueue(action, heads, queued, tails);
    return 0;
}
