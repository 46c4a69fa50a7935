// The serial status page, "sp_status.htm".
#pragma once

#include "appliance/link_state.h"
#include "framework/page.h"

// Carries out the form's button and renders the page: "nat_dial" dials (while sharing is on),
// "nat_hangup" hangs up, "nat_clearlog" removes "/var/log/ppp1.log" and "ppp0.log" and empties
// "pppd.log"; anything else, like "nat_refreshlog", only shows the page. So does a post that was
// refused, which comes with a message.
int get_status(const char* message, const FormList* form);

// Accepts in both phases without acting, as the page acts when it is rendered. In any other mode it
// renders the page.
int set_status(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
               int mode, Message& message);

// What the page shows and takes.
PageTables sp_status_tables();

// The state of the link; asks what the page's getter has not asked already.
LinkState modem_link_state();
