// The virtual servers page, "nat_vs.htm".
#pragma once

#include <span>

#include "framework/page.h"

// Renders the page: the external address, and what was posted or nothing in every other field.
// Message 13 when the internet-sharing record cannot be read.
int get_vs(const char* message, const FormList* form);

// For "save": checks the fields (13, 32, 49, 50), stores them in the internet-sharing record and
// queues "SaVS" when one of them changed. The check compares ports among the servers that are
// enabled on disk, the storing among those that are enabled then.
int set_vs(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails, int mode,
           Message& message);

// The servers' fields with the values in force (record_fields.h), for the overview.
extern const std::span<const KeyGetter> server_getters;

// What the page shows and takes.
PageTables nat_vs_tables();
