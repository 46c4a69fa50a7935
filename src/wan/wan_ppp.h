// The PPPoE page, "wan_ppp.htm".
#pragma once

#include "framework/page.h"

// Shows the stored account; message 13 when one of its files is missing.
int get_wan_ppp(const char* message, const FormList* form);

// "save": checks the fields and stores the DNS servers, in both phases; set: the account, in the
// WAN settings, the secrets files and pppoe.conf. What the form leaves out becomes empty.
// Refusals: 15, 16, 19, 62, 69, and one without a text for an empty address type.
int set_wan_ppp(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                int mode, Message& message);

// What the page shows and takes.
PageTables wan_ppp_tables();
