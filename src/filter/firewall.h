// The firewall's special applications on the system side: the switch that turns all of them on or
// off, and the kernel modules that some of them need.
#pragma once

#include <string_view>

#include "base/written.h"

// Switches the special applications on: "/etc/ppp/ip-up" runs the firewall script.
Written en_sap();

// Switches them off: "/etc/ppp/ip-up" runs "/etc/rc.d/dis_rc.firewall" in its place, a copy without
// any application's rules. Nothing changes when the copy cannot be made.
Written dis_sap();

// Runs the link-up scripts again when a link is up.
void act_change();

// Loads or unloads the kernel module that a script line names: " modprobe NAME" loads it, a line
// that does not begin with a blank unloads it. Does nothing while no link is up.
void act_module(std::string_view line);
