// The direct-connection page, "wan_dc.htm".
#pragma once

#include "framework/page.h"

// Shows the stored settings; message 13 when the appliance settings file is missing.
int get_wan_dc(const char* message, const FormList* form);

// "save": checks the fields and stores the DNS servers, in both phases; set: the other fields, in
// the interface file and the appliance settings. What the form leaves out becomes empty.
// "default_wan_mac" and "change_wan_mac" take the port's hardware address back and set it, in both
// phases; an empty address takes it back, too. Refusals: 19, 63 and a text of its own for the
// device name.
int set_wan_dc(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
               int mode, Message& message);

// What the page shows and takes.
PageTables wan_dc_tables();
