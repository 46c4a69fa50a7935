#include "wan/wanport.h"

#include <algorithm>
#include <string>

#include "appliance/commands.h"
#include "appliance/links.h"
#include "appliance/network_info.h"
#include "base/format.h"
#include "base/paths.h"
#include "base/replacement.h"
#include "base/words.h"
#include "nat/dial_files.h"
#include "nat/process.h"
#include "wan/wan_conf.h"

namespace {

constexpr char kPPPoeScript[] = "-x adsl-connect";

void stop_direct_if_up() {
    if (has_address("eth0")) StopDirectConnect();
}

void stop_pppoe_if_running() {
    if (IsRunning(kPPPoeScript)) StopPPPoeConnect();
}

void stop_all_links() {
    if (IsRunning("diald")) StopModemConnect();
    stop_pppoe_if_running();
    stop_direct_if_up();
}

// The proxy reads the resolver file as a user of its own, so it must be readable.
bool start_squid_if_stopped() {
    if (IsRunning("squid")) return false;
    told(set_mode(DNSF, 0644));
    run_command(Command::start_squid);
    return true;
}

// The interface of diald, which stands in for the link until it has dialled.
int count_sl0_routes() {
    const std::string routes = ask_command(Command::routes).value_or("");
    int count = 0;
    for (std::string_view rest = routes; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        if (line.find("sl0") != line.npos) ++count;
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    return count;
}

}  // namespace

// Each does nothing while another method is configured, so that "RSNat" can be queued whatever a
// page has saved.

int DisableWAN() {
    if (Nat_Method() != kNoMethod) return 0;
    stop_all_links();
    KillSquid();
    RestartNet();
    return 0;
}

int RunModemConnect() {
    constexpr int kRoutesOfDiald = 3;
    if (Nat_Method() != kSerial || IsRunning("diald")) return 0;
    stop_pppoe_if_running();
    stop_direct_if_up();
    told(set_wan_if(kSerial));
    RestartNet();
    if (start_squid_if_stopped()) sync_disks();
    run_command(Command::dial_start);
    // As many routes lead over its interface when diald has come up whole. With fewer, or more, it
    // gets a second chance; what comes of that is for the status page.
    if (count_sl0_routes() != kRoutesOfDiald) {
        StopModemConnect();
        run_command(Command::dial_start);
    }
    return 0;
}

int RunPPPoeConnect() {
    if (Nat_Method() != kPPPoE) return 0;
    stop_all_links();
    // PPPoE speaks Ethernet alone on this port, which must not keep an address of its own.
    if (replace_file(IfCfgEth0F, interface_head("eth0", "none")) != Written::done) return 0;
    told(set_wan_if(kPPPoE));
    RestartNet();
    start_squid_if_stopped();
    run_command(Command::adsl_start);
    return 0;
}

int RunDirectConnect() {
    if (Nat_Method() != kDirect) return 0;
    stop_all_links();
    told(set_wan_if(kDirect));
    DirectConf record;
    (void)read_direct_conf(record);  // an appliance without settings gets a file without an address
    told(SaveDirectConf(record));
    RestartNet();
    start_squid_if_stopped();
    // pppd runs ip-up by itself; for an Ethernet port nobody else does.
    run_command(Command::ifup_eth0);
    run_command(Command::ip_up_of_eth0);
    // The status page learns from this file how the address that is in use now was obtained.
    const Text<2> dynamic = dynamic_setting();
    told(write_anew(DynaF, format_text("%s\n", dynamic.view())));
    return 0;
}

int RunWANConnect() {
    // Whatever the method: DisableWAN ends it again.
    StartSquid();
    switch (Nat_Method()) {
        case kNoMethod:
            return DisableWAN();
        case kDirect:
            return RunDirectConnect();
        case kPPPoE:
            return RunPPPoeConnect();
        case kSerial:
            return RunModemConnect();
        default:
            return 0;
    }
}

void StopModemConnect() {
    run_command(Command::dial_stop);
    run_command(Command::sl0_down);
}

void StopPPPoeConnect() {
    run_command(Command::adsl_stop);
    run_command(Command::ifdown, "ppp0");
}

void StopDirectConnect() {
    // The interface that the settings name, which is not eth0 once another method has been chosen.
    run_command(Command::ifdown, wan_interface());
    // The script takes down what hangs on the LAN side, hence its interface.
    run_command(Command::ip_down, lan_interface());
}

int SaveModemConf(const PPPConf& record) {
    Message message;
    int result = SaveAllConf(record, message);
    if (result == 0) result = SaveSecret();
    if (result == 0) result = SaveOptions();
    return result;
}
