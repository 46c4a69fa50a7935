#include "appliance/lan.h"

#include <cstdint>
#include <optional>
#include <string_view>

#include "appliance/addresses.h"
#include "base/paths.h"
#include "framework/profile.h"

namespace {

std::optional<std::uint32_t> lan_setting(std::string_view key) {
    return address_number(setting<AddressText::size>(QSCfgF, key, ""));
}

bool is_loopback(std::uint32_t address) { return address >> 24 == 127; }

}  // namespace

bool is_outside_lan(std::string address) {
    constexpr std::string_view kMapped = "::ffff:";  // how servers show IPv4 on a socket of IPv6
    if (address.starts_with(kMapped)) address.erase(0, kMapped.size());
    if (address.empty() || address == "::1") return false;
    const auto host = address_number(address);
    if (!host) return true;
    const auto lan = lan_setting("ip_addr");
    const auto mask = lan_setting("netmask");
    return lan && mask && !is_loopback(*host) && ((*host ^ *lan) & *mask) != 0;
}
