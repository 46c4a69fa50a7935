// The ISP settings page of the modem connection, "sp_int.htm".
#pragma once

#include <span>

#include "framework/page.h"

// Renders the page. Of its keys only "dns_name" has a value of its own; the others show what was
// posted or nothing. Message 13 when the record cannot be read.
int get_sp_int(const char* message, const FormList* form);

// "save": checks the fields, and stores the DNS servers, in both phases; set: the other fields in
// the internet-sharing record, and when one changed queues the writers of the dial-up files.
// Refusals: 13, 15, 16, 17, 19, 62, 69, or the record's.
int set_sp_int(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
               int mode, Message& message);

// The account's fields with the values in force (record_fields.h), for the overview.
extern const std::span<const KeyGetter> account_getters;

// What the page shows and takes.
PageTables sp_int_tables();
