// The direct-connection page gives the Ethernet WAN port a fixed address or DHCP, the host name for
// the DHCP server, a hardware address of its own, and the appliance its DNS servers. Providers tie
// an account to one network card; with its address the port stands in for the card.
#include "wan/wan_dc.h"

#include <optional>
#include <string>

#include "appliance/addresses.h"
#include "appliance/commands.h"
#include "appliance/dns_fields.h"
#include "base/paths.h"
#include "framework/page_message.h"
#include "framework/profile.h"
#include "wan/wan_conf.h"

namespace {

constexpr char kPage[] = "wan_dc.htm";

constexpr std::size_t kHardwareDigits = 12;
// The blank is refused, too, although the text does not name it: nobody would see it there.
constexpr std::string_view kNotInDeviceName = " \"&'()*+,/:;<=>?[\\]`|";
constexpr std::string_view kBadDeviceName =
    "Invalid character or characters in Device Name.\n\n"
    "The following characters are not allowed:\n"
    "\\/[]<>,:;|=+*?'`\"()&";
static_assert(kBadDeviceName.size() <= Message::capacity);

DirectConf shown;

// ---- the hardware address ----

Text<80> stored_hardware_address() { return setting<80>(QSCfgF, "wan_hw_addr", ""); }

// The address that the port was made with.
std::string own_hardware_address() {
    constexpr std::size_t kLine = 29;
    const std::string line =
        ask_line(Command::network_report, "eth0", kLine, "HWADDR").value_or("");
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) return "";
    std::string address = line.substr(equals + 1);
    std::erase(address, ':');
    return address.substr(0, kHardwareDigits);
}

// An address is typed with colons, with hyphens or with neither.
std::string without_separators(std::string address) {
    std::erase_if(address, [](char c) { return c == ':' || c == '-'; });
    return address;
}

bool is_hardware_address(std::string_view digits) {
    return digits.size() == kHardwareDigits &&
           digits.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

// Stores an address, empty for the port's own, in the interface file and in the settings.
int store_hardware_address(std::string_view address) {
    const std::string pairs = with_colons(address);
    const Written written = SetFileString(
        "MACADDR", pairs.empty() ? std::nullopt : std::optional<std::string_view>(pairs),
        IfCfgEth0F);
    // Without an interface file the address waits in the settings for the next save.
    if (written != Written::done && written != Written::missing) return 1;
    return SetProfileString("network", "wan_hw_addr", address, QSCfgF);
}

int change_hardware_address(const char* address, Message& message) {
    if (!address) return 0;
    const std::string digits = without_separators(address);
    if (!digits.empty() && !is_hardware_address(digits))
        return refuse(Msg::BadHardwareAddress, message);
    return store_hardware_address(digits);
}

int get_wan_mac_address(ValueText& value, LongText&, int&) {
    value = stored_hardware_address().view();
    if (value.empty()) value = own_hardware_address();
    return 0;
}

// A save leaves the address to the buttons, whatever stands in the field.
int save_wan_mac_address(const char*, int, Message&, DirectConf& record) {
    record.hardware_address = stored_hardware_address().view();
    return 0;
}

// ---- the addresses ----

template <Octets DirectConf::*Address, std::size_t Number>
int get_octet(ValueText& value, LongText&, int&) {
    return show(value, (shown.*Address)[Number - 1]);
}

// A long octet of the address is refused; one of the mask or the gateway is cut (OctetText).
template <Octets DirectConf::*Address, std::size_t Number>
int save_octet(const char* value, int, Message& message, DirectConf& record) {
    if (Address == &DirectConf::address && !octet_fits(value))
        return refuse(Msg::BadAddress, message);
    const int refused = check_octet(value, message);
    if (!refused) (record.*Address)[Number - 1] = value;
    return refused;
}

template <Literal Begin, Octets DirectConf::*Address>
constexpr std::array octet_rows = std::to_array<KeyFun<DirectConf>>({
    {joined<Begin, "01">, get_octet<Address, 1>, save_octet<Address, 1>},
    {joined<Begin, "02">, get_octet<Address, 2>, save_octet<Address, 2>},
    {joined<Begin, "03">, get_octet<Address, 3>, save_octet<Address, 3>},
    {joined<Begin, "04">, get_octet<Address, 4>, save_octet<Address, 4>},
});

// ---- names, and how the address is obtained ----

int get_device_name(ValueText& value, LongText&, int&) { return show(value, shown.host_name); }

int save_device_name(const char* value, int, Message& message, DirectConf& record) {
    const std::string_view name = value;
    if (name.find_first_of(kNotInDeviceName) != std::string_view::npos) {
        message = kBadDeviceName;
        return 1;
    }
    record.host_name = name;
    return 0;
}

int get_default_name(ValueText& value, LongText&, int&) {
    return show(value, setting<127>(QSCfgF, "default_server_name", ""));
}

int get_isp_ip_type(ValueText& value, LongText&, int&) {
    return show(value, shown.dynamic ? "dynamic" : "fixed");
}

// Here what is not "dynamic" is fixed; the modem's account is dynamic unless it is "fixed".
int save_isp_ip_type(const char* value, int, Message&, DirectConf& record) {
    record.dynamic = std::string_view(value) == "dynamic";
    return 0;
}

constexpr std::array hardware_row = std::to_array<KeyFun<DirectConf>>({
    {"wan_mac_address", get_wan_mac_address, save_wan_mac_address},
});

constexpr std::array name_rows = std::to_array<KeyFun<DirectConf>>({
    {"device_name", get_device_name, save_device_name},
    {"dns_name", get_dns_name, nullptr},
    {"default_name", get_default_name, nullptr},
    {"isp_ip_type", get_isp_ip_type, save_isp_ip_type},
});

constexpr std::array key_fun_tab =
    join_rows(hardware_row, octet_rows<"nat_isp_ip", &DirectConf::address>,
              octet_rows<"nat_isp_mask", &DirectConf::netmask>,
              octet_rows<"nat_isp_gw", &DirectConf::gateway>, name_rows, dns_rows<DirectConf>);

}  // namespace

PageTables wan_dc_tables() { return {rows_of(key_fun_tab), {}}; }

int get_wan_dc(const char* message, const FormList* form) {
    PageMessage note(message);
    if (GetDirectConf(&shown) != 0) note.tell(Msg::CannotReadFile, QSCfgF);
    return render_page(kPage, wan_dc_tables(), note.text(), form);
}

int set_wan_dc(const FormList* form, ProcHeads*, ProcFlags*, ProcTails*, int mode,
               Message& message) {
    // The two buttons concern nothing else that could refuse, so they act when checking already and
    // once more when setting.
    if (field_is(form, "todo", "default_wan_mac")) return store_hardware_address("");
    if (field_is(form, "todo", "change_wan_mac"))
        return change_hardware_address(find_val(form, "wan_mac_address"), message);
    if (!field_is(form, "todo", "save")) return 0;
    DirectConf record;
    bool any = false;
    const int refused = save_fields_and_dns(key_fun_tab, form, mode, message, record, any);
    if (refused || mode == kCheck || !any) return refused;
    return SaveDirectConf(record) != Written::done;
}
