// The appliance's address on the internet side, as the pages show it.
#pragma once

#include "base/text.h"
#include "framework/parser.h"

using ExternalInterface = Text<16>;  // as long as the kernel lets a name be
using ExternalAddress = Text<20>;

// Value getter: the address of the WAN method in force, empty when its interface has none, or
// "Unknown - not connected" without a method and while a link has not dialled yet. 0, or 43 when
// the address cannot be found out.
int get_isp_ip(ValueText& value, LongText& text, int& error);

// The WAN interface that the WAN settings file names; `out` stays when it names none that could
// stand in a command. A second "nat_interface" line overrides the first. 0; 1 the file is missing.
int get_extif(ExternalInterface& out);

// The address that the appliance's network program reports for an interface; empty without one.
// 0; 1 when the report cannot be read.
int get_extip(const char* ifname, ExternalAddress& out);
