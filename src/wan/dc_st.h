// The direct-connection status page, "dc_status.htm".
#pragma once

#include "framework/page.h"

// Shows what the WAN port has now: hardware address, address, netmask, gateway, whether they came
// by DHCP ("/tmp/dyna", else the settings), and the DNS servers.
int get_dc_status(const char* message, const FormList* form);

// Set: "dc_connect" starts the direct connection anew. Always accepts.
int set_dc_status(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                  int mode, Message& message);
