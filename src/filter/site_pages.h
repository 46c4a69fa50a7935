// The pages of allowed and of banned sites, "sites_allow.htm" and "sites_ban.htm".
#pragma once

#include "framework/page.h"

// Render the page with the list's entries as options, as many as 20480 characters hold and the page
// has room for. Messages 33 (allowed sites) and 34 (banned sites) when the list cannot be read.
int get_sites_allow(const char* message, const FormList* form);
int get_sites_ban(const char* message, const FormList* form);

// Set: "del_selected", "del_all", "add_url" and "import_file" change the list and queue "RCFilter".
// Refusals: 27 (allowed) and 28 (banned sites), 19, 29. An import leaves its success, 40, in
// `message`.
int set_sites_allow(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                    int mode, Message& message);
int set_sites_ban(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                  int mode, Message& message);

// What the pages show and take.
PageTables sites_allow_tables();
PageTables sites_ban_tables();
