// The direct-connection status page shows the WAN port as the appliance's network-information
// program sees it. What has not been asked is empty; what the program does not know is a blank.
#include "wan/dc_st.h"

#include <optional>
#include <string>

#include "appliance/dns_fields.h"
#include "appliance/network_info.h"
#include "base/files.h"
#include "base/paths.h"
#include "base/words.h"
#include "framework/profile.h"
#include "wan/wanport.h"

namespace {

constexpr char kPage[] = "dc_status.htm";
constexpr std::string_view kUnknown = " ";

using StatusText = Text<20>;

struct DirectStatus {
    StatusText hardware_address;
    StatusText address;
    StatusText netmask;
    StatusText gateway;
    bool dhcp = false;
};

DirectStatus status;

// The method that the WAN settings name; a second line overrides the first, further ones do not
// count.
bool is_direct(LineReader& settings) {
    constexpr std::string_view kKey = "connect_method=";
    bool direct = false;
    for (int seen = 0; seen < 2 && settings.next();) {
        const std::string_view line = settings.text();
        if (!line.starts_with(kKey)) continue;
        // Methods have one digit; what follows it is a line end, of whatever kind.
        direct = line.substr(kKey.size()).starts_with('1');
        ++seen;
    }
    return direct;
}

// How the address in use was obtained; the setting may have changed since.
bool has_lease() {
    const std::string in_use = read_first_line(DynaF, 1).value_or("");
    if (!in_use.empty()) return in_use != "0";
    return to_int(setting<16>(QSCfgF, "dynamic", "0")) != 0;
}

DirectStatus get_dc_st() {
    DirectStatus found;
    LineReader settings(NatConfF);
    if (!settings.is_open()) return found;
    const bool direct = is_direct(settings);
    const std::optional<Profile> info = network_info("eth0");
    if (!info) return found;
    const Profile* link = direct ? &*info : nullptr;
    GetProfileString("HWADDR", kUnknown, found.hardware_address.buffer(), &*info);
    GetProfileString("IPADDR", kUnknown, found.address.buffer(), link);
    GetProfileString("NETMASK", kUnknown, found.netmask.buffer(), link);
    GetProfileString("GATEWAY", kUnknown, found.gateway.buffer(), link);
    found.dhcp = has_lease();
    return found;
}

template <StatusText DirectStatus::*Field>
int get_text(ValueText& value, LongText&, int&) {
    return show(value, status.*Field);
}

int get_dc_wan_dhcp(ValueText& value, LongText&, int&) {
    return show(value, status.dhcp ? "yes" : "no");
}

constexpr std::array key_fun_tab = std::to_array<KeyFun<NoRecord>>({
    {"dc_ph_add", get_text<&DirectStatus::hardware_address>, nullptr},
    {"dc_ip_address", get_text<&DirectStatus::address>, nullptr},
    {"dc_mask", get_text<&DirectStatus::netmask>, nullptr},
    {"dc_gw", get_text<&DirectStatus::gateway>, nullptr},
    {"dc_wan_dhcp", get_dc_wan_dhcp, nullptr},
    {"wan_dns", get_wan_dns, nullptr, false, Shape::broken_lines},
});

}  // namespace

// The address that the interface has, if it has a real one.
LinkState direct_link_state() {
    if (status.hardware_address.empty()) gather([] { status = get_dc_st(); });
    if (!is_real_address(status.address))
        return {kDirectLabel, kFailed,
                status.dhcp ? "No address from DHCP. Check the cable of the WAN port."
                            : "The WAN port has no address."};
    const bool has_gateway = status.gateway.view().find_first_not_of(' ') != std::string_view::npos;
    return {kDirectLabel, kConnected,
            has_gateway ? "" : "There is no gateway, so the internet is out of reach.",
            status.address};
}

PageTables dc_status_tables() { return {rows_of(key_fun_tab), {}}; }

int get_dc_status(const char* message, const FormList* form) {
    gather([] { status = get_dc_st(); });
    return render_page(kPage, dc_status_tables(), message, form);
}

int set_dc_status(const FormList* form, ProcHeads*, ProcFlags*, ProcTails*, int mode, Message&) {
    if (mode == kSet && field_is(form, "todo", "dc_connect")) RunDirectConnect();
    return 0;
}
