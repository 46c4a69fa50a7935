// The PPPoE status page, "ppp_status.htm".
#pragma once

#include "appliance/link_state.h"
#include "framework/page.h"

// Shows hardware address, link, address, netmask, DNS servers and the log of the PPPoE connection
// ("/var/log/pppd.log", at most its first 7999 characters).
int get_ppp_status(const char* message, const FormList* form);

// Set: "ppp_connect" starts the link anew and makes it dial, "ppp_disconnect" starts it anew, so
// that it waits for traffic, "ppp_clearlog" empties the log. Always accepts.
int set_ppp_status(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                   int mode, Message& message);

// What the page shows and takes.
PageTables ppp_status_tables();

// The state of the link; asks what the page's getter has not asked already.
LinkState pppoe_link_state();
