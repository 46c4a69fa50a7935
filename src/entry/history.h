// The history of changes, and how one is undone.
#pragma once

#include "framework/page.h"

int get_history(const char* message, const FormList* form);
int set_history(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                int mode, Message& message);

// What the page shows and takes.
PageTables history_tables();
