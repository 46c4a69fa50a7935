// The modem and serial port page, "sp_port.htm".
#pragma once

#include <span>

#include "framework/page.h"

// Renders the page. For "upload" it first imports the modems of the driver description that the
// field "load_file" names (messages 21 and 22).
int get_sp_port(const char* message, const FormList* form);

// Set: "save" writes the account's user name to "/etc/ppp/user", stores the modem, its init string
// (that of the modem "Other" in the modem list too), speed and dial type in the internet-sharing
// record and queues "SaDiald" and "SaPPPOn"; "port_defaults" makes the page that is rendered next
// offer the defaults; "instatll" ends the request. Refusals: 13, 14, 20, 62, or the record's.
int set_sp_port(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                int mode, Message& message);

// The modem's fields with the values in force (record_fields.h), for the overview.
extern const std::span<const KeyGetter> modem_getters;

// What the page shows and takes.
PageTables sp_port_tables();
