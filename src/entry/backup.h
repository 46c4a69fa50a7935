// All settings in one file: taken out, put back, and those of the factory.
#pragma once

#include "framework/page.h"

int get_backup(const char* message, const FormList* form);
int set_backup(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
               int mode, Message& message);

// What the page shows and takes.
PageTables backup_tables();

// Sends all settings as a download "quillstead-HOST-DATE.tar". The request has the turn, so that
// the files belong together, and gives it back before it sends: the receiver may be slow. 0; status
// 500 when they are more than can be restored. Throws Unreadable before it has begun.
int send_backup(const FormList* form);

// The last action of a restore: puts the files in their places once more, which the actions before
// it may have written. 0, or 1 when a file cannot be written. (Action "Restore".)
int RestoreAgain();

// Removes an archive that waits to be restored and that nobody has come back for. Called by every
// request that acts.
void drop_old_archive();
