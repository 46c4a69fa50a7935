// The diagnosis page, "diagnose.htm".
#pragma once

#include "framework/page.h"

// Asks along the line (line_questions.h) and shows each question with its answer, what the first
// "no" means, and where it is mended. Ends soon after the browser has gone (receiver.h).
int get_diagnose(const char* message, const FormList* form);

// What the page shows.
PageTables diagnose_tables();
