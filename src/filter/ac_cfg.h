// The access-control page, "ac_cfg.htm".
#pragma once

#include "framework/page.h"

// Renders the page for the group that the setter selected in this request, else for the default
// group. A null `message` gives way to what the setter has to say.
int get_ac_cfg(const char* message, const FormList* form);

// The same as a view of its own, for the group that the field "group_name" names; 0.
int show_group(const FormList* form);

// Selects a group and changes its mode ("change_access"), its ports ("add_port", "del_port") or its
// hosts ("add_ip", "del_ip"): stores the list in the appliance settings and rewrites the group's
// blocks of "/etc/rc.d/rc.ac_ctrl". Acts when setting only, and always returns 0: what was not
// added or stored (62, 64, 68) and the warnings and notices (53, 54) are for the page getter.
int set_ac_cfg(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
               int mode, Message& message);

// What the page shows and takes.
PageTables ac_cfg_tables();
