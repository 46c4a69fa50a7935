// The report of the appliance's network-information program: lines HWADDR=, IPADDR=, NETMASK= and
// GATEWAY= of what it knows about an interface.
#pragma once

#include <optional>
#include <string>

#include "framework/profile.h"

// What an interface that fills its link on demand has for an address until it has dialled.
inline constexpr std::string_view kNotDialled = "10.112.112.112";

// Runs a command that has the program write its report to "/tmp/ifcfg", and takes the report from
// there. Nothing when that scratch file cannot be made or read.
std::optional<Profile> network_info(const std::string& command);
