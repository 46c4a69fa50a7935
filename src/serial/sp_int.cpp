// The ISP settings page keeps the account that the modem dials in with: user name and password, up
// to three telephone numbers, how long an idle link stays up, a fixed address if the provider gives
// one, and the appliance's DNS servers.
#include "serial/sp_int.h"

#include <string_view>

#include "appliance/account_fields.h"
#include "appliance/addresses.h"
#include "appliance/dns_fields.h"
#include "appliance/ppp_conf.h"
#include "base/log.h"
#include "base/paths.h"
#include "base/words.h"
#include "framework/msgfile.h"

namespace {

constexpr char kPage[] = "sp_int.htm";

PPPConf conf;

int refuse_entry(int number, Message& message) {
    GetErrMsgByIndex(number, message, PppConfFile);
    return 1;
}

int get_dns(ValueText& value, LongText&, int&) {
    value = conf.DNS.view();
    return 0;
}

// For a field that only the form itself knows what to do with.
int save_nothing(const char*, int, Message&, PPPConf&) { return 0; }

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

constexpr std::array account_rows = std::to_array<KeyFun<PPPConf>>({
    {"dns_name", get_dns, save_nothing},
    {"nat_ac_name", nullptr, required<Msg::NoUserName, save_text<&PPPConf::User>>},
    {"nat_ac_pwd", nullptr, save_ac_pwd},
    {"nat_ac_pwd_v", nullptr, save_nothing},
    {"nat_tel01", nullptr,
     required<Msg::NoTelephone, save_telephone<&PPPConf::Phone1, kFirstNumber>>},
    {"nat_tel02", nullptr, save_telephone<&PPPConf::Phone2, kSecondNumber>},
    {"nat_tel03", nullptr, save_telephone<&PPPConf::Phone3, kThirdNumber>},
    {"nat_idle_time", nullptr, required<Msg::NoIdleTime, save_idle>},
    {"nat_isp_ip_radio", nullptr, save_dynamic_ip},
    {"nat_isp_ip01", nullptr, save_octet<first_octet>},
    {"nat_isp_ip02", nullptr, save_octet<middle_octet>},
    {"nat_isp_ip03", nullptr, save_octet<middle_octet>},
    {"nat_isp_ip04", nullptr, save_ip4},
});

// On this page the DNS fields, like the others, show what was posted.
template <std::size_t N>
constexpr auto without_getters(std::array<KeyFun<PPPConf>, N> rows) {
    for (KeyFun<PPPConf>& row : rows) row.getter = nullptr;
    return rows;
}

constexpr std::array key_fun_tab = join_rows(account_rows, without_getters(dns_rows<PPPConf>));

// Reads the record, has the fields checked or stored in it, and writes a changed one back.
int save(const FormList* form, int mode, Message& message, bool& written) {
    const int unreadable = read_record(&conf, message);
    if (unreadable) return unreadable;
    bool any = false;
    const int refused = save_fields_and_dns(key_fun_tab, form, mode, message, conf, any);
    if (refused || mode == kCheck || !any || !conf.Changed) return refused;
    written = true;
    return SavePPPConf(conf, message);
}

}  // namespace

int get_sp_int(const char* message, const FormList* form) {
    Message failure;
    if (read_record(&conf, failure) != 0 && !message) message = failure.c_str();
    return html_parser(kPage, key_fun_tab, {}, message, form);
}

int set_sp_int(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
               int mode, Message& message) {
    if (!field_is(form, "todo", "save")) return 0;
    bool written = false;
    const int refused = save(form, mode, message, written);
    if (refused) {
        log_line("%s", message.view());
        return refused;
    }
    if (!written) return 0;
    for (const Action action : {kSaveDiald, kSaveSecret, kSaveTel, kSaveOptions, kSaveFilter})
        AddProcToQueue(action, heads, queued, tails);
    return 0;
}
