// The PPPoE page keeps the account that the WAN port logs in with: user name and password, how long
// an idle link stays up, a fixed address if the provider gives one, the service to ask for where a
// line carries several, and the appliance's DNS servers.
#include "wan/wan_ppp.h"

#include <string>

#include "appliance/account_fields.h"
#include "appliance/addresses.h"
#include "appliance/dns_fields.h"
#include "appliance/ppp_conf.h"
#include "base/paths.h"
#include "base/words.h"
#include "framework/page_message.h"
#include "wan/wan_conf.h"

namespace {

constexpr char kPage[] = "wan_ppp.htm";

PPPoeConf shown;

template <SettingText PPPoeConf::*Field>
int get_text(ValueText& value, LongText&, int&) {
    return show(value, shown.*Field);
}

template <SettingText PPPoeConf::*Field>
int save_text(const char* value, int mode, Message&, PPPoeConf& record) {
    if (mode == kSet) record.*Field = value;
    return 0;
}

int save_ppp_ac_name(const char* value, int mode, Message& message, PPPoeConf& record) {
    if (mode == kCheck && !*value) return refuse(Msg::NoUserName, message);
    return save_text<&PPPoeConf::user>(value, mode, message, record);
}

int save_ppp_ac_pwd(const char* value, int mode, Message& message, PPPoeConf& record) {
    if (mode == kCheck) return check_password(value, message);
    return save_text<&PPPoeConf::password>(value, mode, message, record);
}

int get_password_kept(ValueText& value, LongText&, int&) {
    return show_kept(value, shown.password);
}

int get_ppp_idle_time(ValueText& value, LongText&, int&) {
    return show(value, std::to_string(shown.idle));
}

int save_ppp_idle_time(const char* value, int mode, Message& message, PPPoeConf& record) {
    if (mode == kCheck && !*value) return refuse(Msg::NoIdleTime, message);
    if (mode == kCheck) return check_idle_time(value, message);
    record.idle = to_int(value);
    return 0;
}

// An address that was stored is kept, not shown, while the provider assigns one.
template <std::size_t Number>
int get_ip(ValueText& value, LongText&, int&) {
    if (!shown.dynamic) value = shown.address[Number - 1].view();
    return 0;
}

template <std::size_t Number>
int save_ip(const char* value, int mode, Message& message, PPPoeConf& record) {
    if (mode == kCheck) return check_octet(value, message);
    record.address[Number - 1] = value;
    return 0;
}

int get_isp_ip_type(ValueText& value, LongText&, int&) {
    return show(value, shown.dynamic ? "dynamic" : "fixed");
}

// Only the check refuses an empty type, and without a text: the driver's then names the page.
// A longer word that begins with "dynamic" means the same.
int save_isp_ip_type(const char* value, int mode, Message&, PPPoeConf& record) {
    const std::string_view type = value;
    if (mode == kCheck) return type.empty();
    record.dynamic = type.empty() || type.starts_with("dynamic");
    return 0;
}

// The name stands between double quotes, and its reader takes it up to the next one; a blank would
// part it into options of the PPPoE program.
int save_service_name(const char* value, int mode, Message& message, PPPoeConf& record) {
    if (mode == kCheck) return check_characters(value, " \"", "Service name", message);
    return save_text<&PPPoeConf::service>(value, mode, message, record);
}

// The page's own script compares the password with its confirmation, "ppp_ac_pwd_v".
constexpr std::array account_rows = std::to_array<KeyFun<PPPoeConf>>({
    {"ppp_ac_name", get_text<&PPPoeConf::user>, save_ppp_ac_name},
    {"ppp_ac_pwd", show_no_secret, save_ppp_ac_pwd, true},
    {"ppp_ac_pwd_v", show_no_secret, nullptr, true},
    {"ppp_ac_pwd_kept", get_password_kept, nullptr},
    {"keep_secrets", nullptr, nullptr},
    {"ppp_idle_time", get_ppp_idle_time, save_ppp_idle_time},
    {"nat_isp_ip01", get_ip<1>, save_ip<1>},
    {"nat_isp_ip02", get_ip<2>, save_ip<2>},
    {"nat_isp_ip03", get_ip<3>, save_ip<3>},
    {"nat_isp_ip04", get_ip<4>, save_ip<4>},
    {"dns_name", get_dns_name, nullptr},
    {"isp_ip_type", get_isp_ip_type, save_isp_ip_type},
});

constexpr std::array service_row = std::to_array<KeyFun<PPPoeConf>>({
    {"service_name", get_text<&PPPoeConf::service>, save_service_name},
});

constexpr std::array key_fun_tab = join_rows(account_rows, dns_rows<PPPoeConf>, service_row);

// A file that cannot be read refuses the save itself.
SettingText stored_password() {
    PPPoeConf stored;
    static_cast<void>(GetPPPoeConf(&stored));
    return stored.password;
}

}  // namespace

PageTables wan_ppp_tables() { return {rows_of(key_fun_tab), {}}; }

int get_wan_ppp(const char* message, const FormList* form) {
    PageMessage note(message);
    if (GetPPPoeConf(&shown) != 0) note.tell(Msg::CannotReadFile, NatConfF);
    return render_page(kPage, wan_ppp_tables(), note.text(), form);
}

int set_wan_ppp(const FormList* form, ProcHeads*, ProcFlags*, ProcTails*, int mode,
                Message& message) {
    if (!field_is(form, "todo", "save")) return 0;
    PPPoeConf record;
    if (mode == kSet && keeps_secrets(form)) record.password = stored_password();
    bool any = false;
    const int refused = save_fields_and_dns(key_fun_tab, form, mode, message, record, any);
    if (refused || mode == kCheck || !any) return refused;
    return SavePPPoeConf(record) != Written::done;
}
