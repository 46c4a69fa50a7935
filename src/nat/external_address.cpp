#include "nat/external_address.h"

#include <optional>

#include "appliance/network_info.h"
#include "appliance/ppp_conf.h"
#include "base/files.h"
#include "base/format.h"
#include "base/paths.h"
#include "base/quote.h"
#include "framework/msgfile.h"
#include "framework/page.h"
#include "framework/profile.h"

namespace {

constexpr std::string_view kNotConnected = "Unknown - not connected";

int fail(int& error) { return error = Msg::NoExternalAddress; }

}  // namespace

int get_isp_ip(ValueText& value, LongText&, int& error) {
    ExternalInterface interface = "ppp0";
    switch (Nat_Method()) {
        case kDirect:
            interface = "eth0";
            if (get_extif(interface) != 0) return fail(error);
            break;
        case kPPPoE:
        case kSerial:
            break;
        default:
            return show(value, kNotConnected);
    }
    ExternalAddress address;
    if (get_extip(interface.c_str(), address) != 0) return fail(error);
    return show(value, address == kNotDialled ? kNotConnected : address.view());
}

int get_extif(ExternalInterface& out) try {
    constexpr std::string_view kName = "nat_interface=";
    constexpr std::size_t kPiece = 127;
    LineReader in(NatConfF, kPiece);
    if (!in.is_open()) return 1;
    // A second line overrides the first, and nobody reads a third.
    for (int found = 0; found < 2 && in.next();) {
        if (!in.text().starts_with(kName)) continue;
        ++found;
        const std::string_view name = in.text().substr(kName.size());
        if (!name.empty() && is_harmless(name)) out = name;
    }
    return 0;
} catch (const Unreadable&) {
    return 1;
}

int get_extip(const char* ifname, ExternalAddress& out) {
    const std::optional<Profile> report = network_info(ifname);
    if (!report) return 1;
    GetProfileString("IPADDR", "", out.buffer(), &*report);
    return 0;
}
