#include "nat/external_address.h"

#include <optional>

#include "framework/files.h"
#include "framework/format.h"
#include "framework/paths.h"
#include "framework/profile.h"
#include "framework/quote.h"
#include "framework/shell.h"
#include "serial/ppp_conf.h"

namespace {

constexpr int kNoAddress = 43;
constexpr std::string_view kNotConnected = "Unknown - not connected";
constexpr std::string_view kPlaceholder = "10.112.112.112";  // the link has not dialled yet
constexpr char kReport[] = "/tmp/ifcfg";

int show(ValueText& value, std::string_view text) {
    value = text;
    return 0;
}

int fail(int& error) { return error = kNoAddress; }

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
    return show(value, address == kPlaceholder ? kNotConnected : address.view());
}

int get_extif(ExternalInterface& out) {
    constexpr std::string_view kName = "nat_interface=";
    constexpr std::size_t kPiece = 127;
    LineReader in(NatConfF, kPiece);
    if (!in.is_open()) return 1;
    for (int found = 0; found < 2 && in.next();) {
        if (!in.text().starts_with(kName)) continue;
        ++found;
        const std::string_view name = in.text().substr(kName.size());
        if (!name.empty() && is_harmless(name)) out = name;
    }
    return 0;
}

int get_extip(const char* ifname, ExternalAddress& out) {
    const ScratchFile report(kReport);
    if (!report.ready()) return 1;
    run_command(
        format_text("/usr/share/quillstead/network/NET_ReadNetworkInfo %s > %s", ifname, kReport));
    const std::optional<Profile> file = Profile::open(kReport);
    if (!file) return 1;
    GetProfileString("IPADDR", "", out, &*file);
    return 0;
}
