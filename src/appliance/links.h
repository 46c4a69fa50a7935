// The links of the appliance: which interface the WAN is on, what runs, whether a link is up, and
// the scripts that run when it is. Readers of settings throw Unreadable (files.h) when a file is
// there but cannot be read. Where a command gives no answer, the answer is no.
#pragma once

#include <string_view>

#include "base/text.h"
#include "base/written.h"

// Writes "nat_enable" (nonzero: yes) and "connect_method" into the WAN settings file. A missing
// file stays missing.
Written SaveAccessMethod(int method, int enable);

// The interfaces named in the settings files, defaults "eth0" and "eth1"; a name that could not
// stand in a command counts as missing.
using InterfaceText = Text<8>;
InterfaceText wan_interface();
InterfaceText lan_interface();

// The first character of "dynamic" in the appliance settings file: 1 DHCP, 0 (the default) fixed.
Text<2> dynamic_setting();

// Writes "nat_interface" into the WAN settings file: "ppp0" for methods 2 and 3, else "eth0". A
// missing file stays missing.
Written set_wan_if(int method);

// 1 when a program runs: "pidof" gives a pid of at least two digits for it. `program` is its name,
// with "-x " before it for a script.
int IsRunning(const char* program);

// True when pppd runs: "pidof" gives a pid for it.
bool is_pppd_running();

// 1 when sharing is on and the interface has a usable address. On a PPP interface the placeholders
// of a link that has not dialled yet do not count.
int IsInterface(std::string_view interface);

// Whether the interface itself has a usable address, whatever the sharing switch says.
bool has_address(std::string_view interface);

// The usable address in what ifconfig prints of an interface; empty without one.
std::string_view usable_address(std::string_view report, std::string_view interface);
// The word that stands behind a mark such as "inet addr:"; empty when the mark does not.
std::string_view word_behind(std::string_view mark, std::string_view report);

// Runs the link-up script for an interface for which IsInterface holds.
void run_ip_up_on(std::string_view interface);

// Reruns the link-up script when sharing is on and the WAN interface has an address, so that the
// scripts which it runs apply again.
void Run_ip_up();
