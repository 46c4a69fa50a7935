// The direct-connection status page, "dc_status.htm".
#pragma once

#include "appliance/link_state.h"
#include "framework/page.h"

// Shows what the WAN port has now: hardware address, address, netmask, gateway, whether they came
// by DHCP ("/tmp/dyna", else the settings), and the DNS servers.
int get_dc_status(const char* message, const FormList* form);

// Set: "dc_connect" starts the direct connection anew. Always accepts.
int set_dc_status(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                  int mode, Message& message);

// What the page shows and takes.
PageTables dc_status_tables();

// The state of the link; asks what the page's getter has not asked already.
LinkState direct_link_state();
