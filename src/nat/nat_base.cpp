// The overview reads the internet-sharing record, the filter settings and the appliance settings
// and shows each value under the name of the form field that edits it.
#include "nat/nat_base.h"

#include <string>

#include "appliance/addresses.h"
#include "appliance/dns_fields.h"
#include "appliance/ppp_conf.h"
#include "base/paths.h"
#include "filter/filterconf.h"
#include "framework/msgfile.h"
#include "framework/profile.h"
#include "framework/settings.h"

namespace {

constexpr char kPage[] = "nat_base.htm";

PPPConf conf;
FilterConf flt_conf;

int show(ValueText& value, std::string_view text) {
    value = text;
    return 0;
}

int show_switch(ValueText& value, bool on) { return show(value, on ? "checked" : "unchecked"); }

int show_number(ValueText& value, unsigned long number) {
    return show(value, std::to_string(number));
}

// A number of two digits; one that is out of range is put right in this page's copy.
int show_two_digits(ValueText& value, int& number, int most) {
    if (number < 0 || number > most) number = 0;
    const std::string digits = std::to_string(number);
    return show(value, number < 10 ? "0" + digits : digits);
}

// ---- the record ----

template <int PPPConf::*Field>
int get_switch(ValueText& value, LongText&, int&) {
    return show_switch(value, conf.*Field != 0);
}

template <std::uint32_t PPPConf::*Field>
int get_port(ValueText& value, LongText&, int&) {
    return show_number(value, conf.*Field);
}

template <AddressText PPPConf::*Field, int Number>
int get_part(ValueText& value, LongText&, int&) {
    return show(value, octet_of(conf.*Field, Number));
}

int get_access_method(ValueText& value, LongText&, int&) {
    switch (conf.Method) {
        case kDirect:
            return show(value, "WAN Port - Direct Connection");
        case kPPPoE:
            return show(value, "WAN Port - PPPoE");
        default:
            return show(value, "Serial Port");
    }
}

// ---- user-defined server 1 to 5 ----

template <std::size_t Server>
const UserServer& user_server() {
    static_assert(Server >= 1 && Server <= PPPConf::kUserServers);
    return conf.UD[Server - 1];
}

template <std::size_t Server>
int get_ud_enable(ValueText& value, LongText&, int&) {
    return show_switch(value, user_server<Server>().VS_UD != 0);
}

template <std::size_t Server>
int get_ud_name(ValueText& value, LongText&, int&) {
    return show(value, user_server<Server>().Name());
}

template <std::size_t Server, int Number>
int get_ud_part(ValueText& value, LongText&, int&) {
    return show(value, octet_of(user_server<Server>().IP(), Number));
}

template <std::size_t Server>
int get_ud_port(ValueText& value, LongText&, int&) {
    return show_number(value, user_server<Server>().Port);
}

// ---- the filter settings ----

template <int FilterConf::*Field>
int get_filter_switch(ValueText& value, LongText&, int&) {
    return show_switch(value, flt_conf.*Field != 0);
}

template <int FilterConf::*Field>
int get_day(ValueText& value, LongText&, int&) {
    int& day = flt_conf.*Field;
    if (day < 0 || day >= static_cast<int>(days.size())) day = 0;
    return show(value, days[static_cast<std::size_t>(day)]);
}

template <int FilterConf::*Field, int Most>
int get_clock(ValueText& value, LongText&, int&) {
    return show_two_digits(value, flt_conf.*Field, Most);
}

int get_filter_when(ValueText& value, LongText&, int&) {
    switch (flt_conf.filter_state) {
        case kFilterAlways:
            return show(value, "always");
        case kFilterBetween:
            return show(value, "between");
        default:
            return show(value, "never");
    }
}

int get_sitelist_type(ValueText& value, LongText&, int&) {
    if (!flt_conf.custom_filter_state) return show(value, "off");
    return show(value, flt_conf.custom_content_state == 1 ? "allowed" : "banned");
}

// ---- the appliance settings ----

int get_enable_ac(ValueText& value, LongText&, int&) {
    return show_switch(value, setting<8>(CgiQSFile, "acc_en", "0").view().starts_with('1'));
}

int get_true(ValueText& value, LongText&, int&) { return show(value, "true"); }

using Row = KeyFun<NoRecord>;

constexpr std::array key_fun_tab = std::to_array<Row>({
    {"internet_access", get_switch<&PPPConf::NatEnable>, nullptr},
    {"access_method", get_access_method, nullptr},
    {"enable_web_access", get_switch<&PPPConf::SrvWeb>, nullptr},
    {"enable_sp_apps", get_switch<&PPPConf::SAP>, nullptr},
    {"enable_email", get_switch<&PPPConf::SrvEMail>, nullptr},
    {"enable_ftp", get_switch<&PPPConf::SrvFTP>, nullptr},
    {"enable_telnet", get_switch<&PPPConf::SrvTelNet>, nullptr},
    {"filter_when", get_filter_when, nullptr},
    {"filter_daystart", get_day<&FilterConf::from_day>, nullptr},
    {"filter_dayfinish", get_day<&FilterConf::to_day>, nullptr},
    {"filter_starttime", get_clock<&FilterConf::from_hour, 23>, nullptr},
    {"filter_finishtime", get_clock<&FilterConf::to_hour, 23>, nullptr},
    {"start_min", get_clock<&FilterConf::from_min, 59>, nullptr},
    {"finish_min", get_clock<&FilterConf::to_min, 59>, nullptr},
    {"remove_java", get_filter_switch<&FilterConf::block_applet>, nullptr},
    {"remove_js", get_filter_switch<&FilterConf::block_script>, nullptr},
    {"remove_ax", get_filter_switch<&FilterConf::block_activex>, nullptr},
    {"remove_cookies", get_filter_switch<&FilterConf::block_cookies>, nullptr},
    {"enable_filter_log", get_filter_switch<&FilterConf::enable_log>, nullptr},
    {"sitelist_type", get_sitelist_type, nullptr},
    {"vs_web_enable", get_switch<&PPPConf::Web>, nullptr},
    {"vs_web_1", get_part<&PPPConf::WebIP, 1>, nullptr},
    {"vs_web_2", get_part<&PPPConf::WebIP, 2>, nullptr},
    {"vs_web_3", get_part<&PPPConf::WebIP, 3>, nullptr},
    {"vs_web_4", get_part<&PPPConf::WebIP, 4>, nullptr},
    {"vs_web_portno", get_port<&PPPConf::WebPort>, nullptr},
    {"vs_pop3_enable", get_switch<&PPPConf::Pop3>, nullptr},
    {"vs_pop3_1", get_part<&PPPConf::Pop3IP, 1>, nullptr},
    {"vs_pop3_2", get_part<&PPPConf::Pop3IP, 2>, nullptr},
    {"vs_pop3_3", get_part<&PPPConf::Pop3IP, 3>, nullptr},
    {"vs_pop3_4", get_part<&PPPConf::Pop3IP, 4>, nullptr},
    {"vs_pop3_portno", get_port<&PPPConf::Pop3Port>, nullptr},
    {"vs_smtp_enable", get_switch<&PPPConf::Smtp>, nullptr},
    {"vs_smtp_1", get_part<&PPPConf::SmtpIP, 1>, nullptr},
    {"vs_smtp_2", get_part<&PPPConf::SmtpIP, 2>, nullptr},
    {"vs_smtp_3", get_part<&PPPConf::SmtpIP, 3>, nullptr},
    {"vs_smtp_4", get_part<&PPPConf::SmtpIP, 4>, nullptr},
    {"vs_smtp_portno", get_port<&PPPConf::SmtpPort>, nullptr},
    {"vs_ftp_enable", get_switch<&PPPConf::Ftp>, nullptr},
    {"vs_ftp_1", get_part<&PPPConf::FtpIP, 1>, nullptr},
    {"vs_ftp_2", get_part<&PPPConf::FtpIP, 2>, nullptr},
    {"vs_ftp_3", get_part<&PPPConf::FtpIP, 3>, nullptr},
    {"vs_ftp_4", get_part<&PPPConf::FtpIP, 4>, nullptr},
    {"vs_ftp_portno_ctrl", get_port<&PPPConf::FtpCtlPort>, nullptr},
    {"vs_ftp_portno_data", get_port<&PPPConf::FtpDataPort>, nullptr},
    {"enable_ac", get_enable_ac, nullptr},
    {"enable_dmz", get_switch<&PPPConf::DMZ>, nullptr},
    {"dmz_ip_1", get_part<&PPPConf::DMZ_IP, 1>, nullptr},
    {"dmz_ip_2", get_part<&PPPConf::DMZ_IP, 2>, nullptr},
    {"dmz_ip_3", get_part<&PPPConf::DMZ_IP, 3>, nullptr},
    {"dmz_ip_4", get_part<&PPPConf::DMZ_IP, 4>, nullptr},
    {"vs_https_enable", get_switch<&PPPConf::Https>, nullptr},
    {"vs_ud1_enable", get_ud_enable<1>, nullptr},
    {"vs_ud1_name", get_ud_name<1>, nullptr},
    {"vs_ud1_1", get_ud_part<1, 1>, nullptr},
    {"vs_ud1_2", get_ud_part<1, 2>, nullptr},
    {"vs_ud1_3", get_ud_part<1, 3>, nullptr},
    {"vs_ud1_4", get_ud_part<1, 4>, nullptr},
    {"vs_ud1_portno", get_ud_port<1>, nullptr},
    {"vs_ud2_enable", get_ud_enable<2>, nullptr},
    {"vs_ud2_name", get_ud_name<2>, nullptr},
    {"vs_ud2_1", get_ud_part<2, 1>, nullptr},
    {"vs_ud2_2", get_ud_part<2, 2>, nullptr},
    {"vs_ud2_3", get_ud_part<2, 3>, nullptr},
    {"vs_ud2_4", get_ud_part<2, 4>, nullptr},
    {"vs_ud2_portno", get_ud_port<2>, nullptr},
    {"vs_ud3_enable", get_ud_enable<3>, nullptr},
    {"vs_ud3_name", get_ud_name<3>, nullptr},
    {"vs_ud3_1", get_ud_part<3, 1>, nullptr},
    {"vs_ud3_2", get_ud_part<3, 2>, nullptr},
    {"vs_ud3_3", get_ud_part<3, 3>, nullptr},
    {"vs_ud3_4", get_ud_part<3, 4>, nullptr},
    {"vs_ud3_portno", get_ud_port<3>, nullptr},
    {"vs_ud4_enable", get_ud_enable<4>, nullptr},
    {"vs_ud4_name", get_ud_name<4>, nullptr},
    {"vs_ud4_1", get_ud_part<4, 1>, nullptr},
    {"vs_ud4_2", get_ud_part<4, 2>, nullptr},
    {"vs_ud4_3", get_ud_part<4, 3>, nullptr},
    {"vs_ud4_4", get_ud_part<4, 4>, nullptr},
    {"vs_ud4_portno", get_ud_port<4>, nullptr},
    {"vs_ud5_enable", get_ud_enable<5>, nullptr},
    {"vs_ud5_name", get_ud_name<5>, nullptr},
    {"vs_ud5_1", get_ud_part<5, 1>, nullptr},
    {"vs_ud5_2", get_ud_part<5, 2>, nullptr},
    {"vs_ud5_3", get_ud_part<5, 3>, nullptr},
    {"vs_ud5_4", get_ud_part<5, 4>, nullptr},
    {"vs_ud5_portno", get_ud_port<5>, nullptr},
    {"can_change_vsip_1", get_true, nullptr},
    {"can_change_vsip_2", get_true, nullptr},
    {"can_change_vsip_3", get_true, nullptr},
    {"dns_name", get_dns_name, nullptr},
});

}  // namespace

int get_nat_base(const char* message, const FormList* form) {
    Message failure;
    if (read_record(&conf, failure) != 0 && !message) message = failure.c_str();
    if (get_filter_info(&flt_conf) != 0 && !message) {
        GetErrMsgByIndex(Msg::NoFilterSettings, failure);
        message = failure.c_str();
    }
    return html_parser(kPage, key_fun_tab, {}, message, form);
}
