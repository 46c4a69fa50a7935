// The services and DMZ page, "nat_conn.htm".
#pragma once

#include <span>

#include "framework/page.h"

// Renders the page; none of its keys has a value of its own, so it shows what was posted or
// nothing.
int get_nat_conn(const char* message, const FormList* form);

// Check: sharing needs a DNS server (44). Set, for "save": writes the account's user name to
// "/etc/ppp/user", stores the fields in the internet-sharing record, the WAN settings and the
// service and access-control scripts, switches the special applications, and queues "RSNat" and
// "SaVS" as needed. Refusals: 13, 39, 44, 48, or the record's.
int set_nat_conn(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                 int mode, Message& message);

// The page's fields with the values in force (record_fields.h), for the overview.
extern const std::span<const KeyGetter> service_getters;

// What the page shows and takes.
PageTables nat_conn_tables();
