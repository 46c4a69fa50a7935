// The services page switches internet sharing and its access method, the four services that the
// appliance offers to the outside, the special applications, access control and the DMZ host.
#include "nat/nat_conn.h"

#include <optional>

#include "appliance/addresses.h"
#include "appliance/dns_fields.h"
#include "appliance/links.h"
#include "appliance/record_page.h"
#include "base/log.h"
#include "base/paths.h"
#include "base/replacement.h"
#include "filter/firewall.h"
#include "framework/profile.h"
#include "nat/service_script.h"

namespace {

constexpr char kPage[] = "nat_conn.htm";

// The access methods as forms name them; whatever else a form says is the serial port.
constexpr char kDirectLabel[] = "WAN Port - Direct Connection";
constexpr char kPPPoELabel[] = "WAN Port - PPPoE";

// The record as the form changes it, and what its savers need besides.
struct ServiceEdit : PPPConf {
    const FormList* form = nullptr;      // for savers that look at more than their own field
    std::optional<bool> access_control;  // what its switch becomes, once no field has been refused
};

bool is(const char* value, std::string_view text) { return value == text; }

// The appliance's own address comes from a DHCP server.
bool DhcpClient() { return setting<80>(CgiQSFile, "bootproto", "") == "dhcp"; }

int save_internet_access(const char* value, int mode, Message& message, ServiceEdit& record) {
    if (mode == kCheck) return 0;
    const bool on = is_not_unchecked(value);
    if (on && DhcpClient()) return refuse(Msg::AddressFromDhcp, message);
    record.NatEnable = on;
    record.NetChanged = on != (PortEnabled() != 0);
    if (record.NetChanged)
        record.Changed = 1;
    else
        log_line("change_enable = 0");
    return 0;
}

// Behind internet_access in the table, so that NatEnable is the posted state.
int save_access_method(const char* value, int mode, Message&, ServiceEdit& record) {
    if (mode == kCheck) return 0;
    const int method = is(value, kDirectLabel)  ? kDirect
                       : is(value, kPPPoELabel) ? kPPPoE
                                                : kSerial;
    if (store(record.Method, method, record) && record.NatEnable) record.NetChanged = 1;
    return 0;
}

template <int PPPConf::*Service>
int save_service(const char* value, int mode, Message&, ServiceEdit& record) {
    if (mode == kSet) store(record.*Service, int{is_not_unchecked(value)}, record);
    return 0;
}

// Compared with the settings: the record does not keep this switch.
int save_enable_ac(const char* value, int mode, Message&, ServiceEdit& record) {
    if (mode == kCheck) return 0;
    const std::optional<Profile> settings = Profile::open(CgiQSFile);
    if (!settings) return 0;
    const bool on = is_checked(value);
    const Text<8> current = setting<8>(settings, "acc_en", "0");
    if (current.view().starts_with(on ? '1' : '0')) return 0;
    record.access_control = on;
    record.Changed = 1;
    return 0;
}

// A DMZ host hides the FTP server and the filter from the outside world; the page warns of it.
void warn_of_dmz(const FormList* form) {
    const char* filter = find_val(form, "filter_when");
    // The page has room for one warning, and the FTP server's says more.
    if (is_checked(field_text(form, "vs_ftp_enable")))
        warn_no = Msg::DmzBesideFtpServer;
    else if (filter && !is(filter, "never"))
        warn_no = Msg::DmzBesideFilter;
}

int save_enable_dmz(const char* value, int mode, Message&, ServiceEdit& record) {
    if (mode == kCheck || !store(record.DMZ, int{is_checked(value)}, record)) return 0;
    record.VSChanged = 1;
    if (record.DMZ) warn_of_dmz(record.form);
    return 0;
}

template <void (*AddOctet)(AddressText&, const char*)>
int save_dmz_octet(const char* value, int mode, Message& message, ServiceEdit& record) {
    if (mode == kCheck) return 0;
    if (!octet_fits(value)) {
        refuse(Msg::BadDmzHost, message);
        return 1;
    }
    AddOctet(record.DMZIPBuf, value);
    return 0;
}

int save_dmz_ip_4(const char* value, int mode, Message& message, ServiceEdit& record) {
    const int refused = save_dmz_octet<last_octet>(value, mode, message, record);
    if (refused || mode == kCheck) return refused;
    if (store(record.DMZ_IP, record.DMZIPBuf, record)) record.VSChanged = 1;
    return 0;
}

// ---- the values in force ----

int get_access_method(ValueText& value, LongText&, int&) {
    switch (shown_record.Method) {
        case kDirect:
            return show(value, kDirectLabel);
        case kPPPoE:
            return show(value, kPPPoELabel);
        default:
            return show(value, "Serial Port");
    }
}

int get_enable_ac(ValueText& value, LongText&, int&) {
    return show_switch(value, setting<8>(CgiQSFile, "acc_en", "0").view().starts_with('1'));
}

constexpr std::array service_rows = std::to_array<KeyFun<ServiceEdit>>({
    {"internet_access", get_switch<&PPPConf::NatEnable>, save_internet_access},
    {"access_method", get_access_method, save_access_method},
    {"enable_web_access", get_switch<&PPPConf::SrvWeb>, save_service<&PPPConf::SrvWeb>},
    {"enable_sp_apps", get_switch<&PPPConf::SAP>, save_service<&PPPConf::SAP>},
    {"enable_email", get_switch<&PPPConf::SrvEMail>, save_service<&PPPConf::SrvEMail>},
    {"enable_ftp", get_switch<&PPPConf::SrvFTP>, save_service<&PPPConf::SrvFTP>},
    {"enable_telnet", get_switch<&PPPConf::SrvTelNet>, save_service<&PPPConf::SrvTelNet>},
    {"enable_ac", get_enable_ac, save_enable_ac},
    {"enable_dmz", get_switch<&PPPConf::DMZ>, save_enable_dmz},
    {"dmz_ip_1", get_octet<&PPPConf::DMZ_IP, 1>, save_dmz_octet<first_octet>},
    {"dmz_ip_2", get_octet<&PPPConf::DMZ_IP, 2>, save_dmz_octet<middle_octet>},
    {"dmz_ip_3", get_octet<&PPPConf::DMZ_IP, 3>, save_dmz_octet<middle_octet>},
    {"dmz_ip_4", get_octet<&PPPConf::DMZ_IP, 4>, save_dmz_ip_4},
});

constexpr std::array key_fun_tab = without_getters(service_rows);
constexpr std::array kServiceGetters = getters_of(service_rows);

// ---- storing ----

// A script that an appliance does not have needs no switching.
bool failed(Written written) { return written != Written::done && written != Written::missing; }

Written switch_access_control(bool on) {
    const Setting setting = {"acc_en", on ? "1" : "0"};
    Written written = SetFileString("acc_en", on ? "yes" : "no", AccessControlF);
    if (!failed(written)) written = set_settings("ACC_CTRL", {&setting, 1}, CgiQSFile);
    // In any case: a script that has lost its mode would not run at the next link-up.
    told(set_mode(AccessControlF, 0755));
    return written;
}

// Stores the record and all that follows from it at once.
int store_all(const ServiceEdit& record, Message& message) {
    if (record.access_control && switch_access_control(*record.access_control) != Written::done)
        return 1;
    const int unstored = store_record(record, message);
    if (unstored) return unstored;
    if (failed(SaveAccessMethod(record.Method, record.NatEnable))) return 1;
    if (failed(SaveService(record))) return 1;
    return failed(record.SrvWeb && record.SAP ? en_sap() : dis_sap());
}

// What the stored settings mean for what runs, at once or queued.
void put_into_force(const PPPConf& record, const Actions& actions) {
    log_line("nat_conn: add process");
    if (record.NetChanged)
        actions.add(kRunWANConnect);  // which runs the link-up scripts, too
    else
        act_change();
    if (record.VSChanged) actions.add(kSaveAndRunVS);
}

// Only "checked", which the page posts, asks for a DNS server; any other word that switches sharing
// on (is_not_unchecked) passes.
int check(const FormList* form, Message& message) {
    if (!is_checked(field_text(form, "internet_access"))) return 0;
    DnsText server;
    GetDNS(server);
    return server.empty() ? refuse(Msg::NoDnsServer, message) : 0;
}

}  // namespace

constinit const std::span<const KeyGetter> service_getters = kServiceGetters;

PageTables nat_conn_tables() { return {rows_of(key_fun_tab), {}}; }

int get_nat_conn(const char* message, const FormList* form) {
    return render_page(kPage, nat_conn_tables(), message, form);
}

int set_nat_conn(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                 int mode, Message& message) {
    if (mode == kCheck) return check(form, message);
    if (!field_is(form, "todo", "save")) return 0;
    ServiceEdit record;
    record.form = form;
    const auto walk = [&] {
        told(replace_file(UserF, record.User));
        return save_fields(key_fun_tab, form, Present::only_filled, mode, message, record);
    };
    const Saved saved = save_record(record, mode, message, walk, store_all);
    if (saved.stored) put_into_force(record, {heads, queued, tails});
    return saved.refused;
}
