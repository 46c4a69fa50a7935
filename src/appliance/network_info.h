// The report of the appliance's network-information program: lines HWADDR=, IPADDR=, NETMASK= and
// GATEWAY= of what it knows about an interface.
#pragma once

#include <optional>
#include <string_view>

#include "framework/profile.h"

// What an interface that fills its link on demand has for an address until it has dialled.
inline constexpr std::string_view kNotDialled = "10.112.112.112";

// The program's report on an interface. Nothing when it could not be asked.
std::optional<Profile> network_info(std::string_view interface);
