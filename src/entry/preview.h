// What a request that acts would do, without doing it. Field: "preview=yes" beside those of the
// request.
#pragma once

#include "framework/page.h"

// Runs the request in a preview (overlay.h) and answers with the page "preview.htm": the files that
// would differ, the commands that would run, or the message of a refusal. 0, the program's exit
// status.
int show_preview(const FormList& form, int (*act)(const FormList& form));

int get_preview(const char* message, const FormList* form);

// What the page shows.
PageTables preview_tables();
