// The PPPoE status page shows whether the link is up and what it has got, and pppd's log. What has
// not been asked is empty; what is not known is a blank.
#include "wan/ppp_st.h"

#include <optional>
#include <string>

#include "appliance/commands.h"
#include "appliance/dns_fields.h"
#include "appliance/links.h"
#include "appliance/log_mask.h"
#include "appliance/network_info.h"
#include "appliance/ppp_conf.h"
#include "base/files.h"
#include "base/paths.h"
#include "base/replacement.h"
#include "base/words.h"
#include "framework/answer.h"
#include "framework/page_room.h"
#include "framework/profile.h"
#include "wan/wan_conf.h"
#include "wan/wanport.h"

namespace {

constexpr char kPage[] = "ppp_status.htm";
constexpr std::size_t kLogShown = 7999;
constexpr std::string_view kUnknown = " ";

using StatusText = Text<20>;

struct PPPStatus {
    StatusText hardware_address;
    StatusText address;
    StatusText netmask;
    bool runs = false;
    bool up = false;
};

PPPStatus status;
std::size_t log_shown = 0;  // characters on the page

// A link that has not dialled yet has a placeholder.
bool is_placeholder(std::string_view address) {
    return address.starts_with(kNotDialled) || address.starts_with("0.0.0.0");
}

PPPStatus get_p3_st() {
    PPPStatus found;
    if (to_int(setting<16>(NatConfF, "connect_method", "0")) != kPPPoE) return found;
    const std::optional<Profile> port = network_info("eth0");
    found.hardware_address = setting<StatusText::size>(port, "HWADDR", kUnknown);
    found.address = found.netmask = kUnknown;
    found.runs = IsRunning("pppoe");
    if (!found.runs) return found;
    const std::optional<Profile> link = network_info("ppp0");
    if (!link) return found;
    StatusText address;
    GetProfileString("IPADDR", kUnknown, address.buffer(), &*link);
    if (is_placeholder(address)) return found;
    found.address = address;
    GetProfileString("NETMASK", kUnknown, found.netmask.buffer(), &*link);
    found.up = true;
    return found;
}

template <StatusText PPPStatus::*Field>
int get_text(ValueText& value, LongText&, int&) {
    return show(value, status.*Field);
}

int get_ppp_link_status(ValueText& value, LongText&, int&) {
    return show(value, status.up ? "on" : "off");
}

int get_ppp_wan_log(ValueText&, LongText& text, int&) {
    const std::string log = read_file(PppdLogF, kLogShown).value_or("");
    text.emplace(lines_with_room(log.c_str()));  // up to the first NUL
    log_shown = text->size();
    if (wants_data()) text = masked(*text);
    return 0;
}

int get_ppp_log_left_out(ValueText& value, LongText&, int&) {
    return show(value, left_out(log_shown, file_size(PppdLogF), "characters"));
}

constexpr std::array key_fun_tab = std::to_array<KeyFun<NoRecord>>({
    {"ppp_ph_add", get_text<&PPPStatus::hardware_address>, nullptr},
    {"ppp_link_status", get_ppp_link_status, nullptr},
    {"ppp_ip_address", get_text<&PPPStatus::address>, nullptr},
    {"ppp_mask", get_text<&PPPStatus::netmask>, nullptr},
    {"ppp_wan_log", get_ppp_wan_log, nullptr, false, Shape::lines},
    {"ppp_log_left_out", get_ppp_log_left_out, nullptr},
    {"wan_dns", get_wan_dns, nullptr, false, Shape::broken_lines},
});

// The link dials when a packet wants to cross it.
void connect() {
    RunPPPoeConnect();
    wait_seconds(1);
    start_command(Command::ping_ppp);
}

}  // namespace

LinkState pppoe_link_state() {
    if (status.hardware_address.empty()) gather([] { status = get_p3_st(); });
    if (is_real_address(status.address)) return {kPPPoELabel, kConnected, "", status.address};
    LinkState link = state_of_dialled(kPPPoELabel, end_of_log(PppdLogF), false);
    PPPoeConf settings;
    const bool waits = GetPPPoeConf(&settings) != 0 || settings.idle != 0;
    if (link.state != kWaiting || waits) return link;
    link.state = status.runs ? kConnecting : kFailed;
    link.cause = status.runs ? kNotYet : "Not connected.";
    return link;
}

PageTables ppp_status_tables() { return {rows_of(key_fun_tab), {}}; }

int get_ppp_status(const char* message, const FormList* form) {
    gather([] { status = get_p3_st(); });
    return render_page(kPage, ppp_status_tables(), message, form);
}

int set_ppp_status(const FormList* form, ProcHeads*, ProcFlags*, ProcTails*, int mode, Message&) {
    if (mode != kSet) return 0;
    if (field_is(form, "todo", "ppp_connect")) connect();
    // A link that was started anew is down until there is traffic: this is how one disconnects and
    // still gets onto the internet the next time.
    if (field_is(form, "todo", "ppp_disconnect")) RunPPPoeConnect();
    if (field_is(form, "todo", "ppp_clearlog")) told(empty_file(PppdLogF));
    return 0;
}
