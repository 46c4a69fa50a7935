// The special applications page ("nat_sap.htm").
#pragma once

#include "framework/page.h"

// Adds, deletes or updates the application of the form when its todo says so and no message (a
// refusal) is to be shown; then renders the page, in every case.
int get_sap(const char* message, const FormList* form);
// Accepts everything and stores nothing: the getter acts, once all phases are over.
int set_sap(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails, int mode,
            Message& message);

// What the page shows and takes.
PageTables nat_sap_tables();
