// The serial overview shows the modem settings and the ISP account, each value under the name of
// the form field that edits it.
#include "serial/sp_base.h"

#include <string>

#include "appliance/addresses.h"
#include "appliance/dns_fields.h"
#include "appliance/ppp_conf.h"

namespace {

constexpr char kPage[] = "sp_base.htm";

PPPConf conf;

template <auto Field>
int get_text(ValueText& value, LongText&, int&) {
    return show(value, conf.*Field);
}

template <auto Field>
int get_number(ValueText& value, LongText&, int&) {
    return show(value, std::to_string(conf.*Field));
}

int get_dialtype(ValueText& value, LongText&, int&) {
    const auto type = static_cast<std::size_t>(conf.DialType);
    return show(value, type < kDialTypes.size() ? kDialTypes[type] : "");
}

int get_dynamic_ip(ValueText& value, LongText&, int&) {
    return show(value, conf.DynamicIP ? "dynamic" : "fixed");
}

template <int Number>
int get_ip(ValueText& value, LongText&, int&) {
    return show(value, octet_of(conf.IP, Number));
}

constexpr std::array record_rows = std::to_array<KeyFun<NoRecord>>({
    {"nat_serspeed_list", get_number<&PPPConf::BaudRate>, nullptr},
    {"nat_modem_list", get_text<&PPPConf::Modem>, nullptr},
    {"nat_init_string", get_text<&PPPConf::InitStr>, nullptr},
    {"nat_dial_type_radio", get_dialtype, nullptr},
    {"nat_ac_name", get_text<&PPPConf::User>, nullptr},
    {"nat_ac_pwd", get_text<&PPPConf::Password>, nullptr},
    {"nat_ac_pwd_v", get_text<&PPPConf::Password>, nullptr},
    {"nat_tel01", get_text<&PPPConf::Phone1>, nullptr},
    {"nat_tel02", get_text<&PPPConf::Phone2>, nullptr},
    {"nat_tel03", get_text<&PPPConf::Phone3>, nullptr},
    {"nat_idle_time", get_number<&PPPConf::Idle>, nullptr},
    {"nat_isp_ip_radio", get_dynamic_ip, nullptr},
    {"nat_isp_ip01", get_ip<1>, nullptr},
    {"nat_isp_ip02", get_ip<2>, nullptr},
    {"nat_isp_ip03", get_ip<3>, nullptr},
    {"nat_isp_ip04", get_ip<4>, nullptr},
});

constexpr std::array key_fun_tab = join_rows(record_rows, dns_rows<NoRecord>);

}  // namespace

int get_sp_base(const char* message, const FormList* form) {
    Message failure;
    if (read_record(&conf, failure) != 0 && !message) message = failure.c_str();
    return html_parser(kPage, key_fun_tab, {}, message, form);
}
