// The history of changes, and how one is undone.
#pragma once

#include "framework/page.h"

int get_history(const char* message, const FormList* form);
int set_history(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                int mode, Message& message);

// The last action of an undo: puts the files back once more, which the actions before it may have
// written. 0, or 1 when a file cannot be written. (Action "PutBack".)
int PutBackAgain();

// What the page shows and takes.
PageTables history_tables();
