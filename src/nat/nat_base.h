// The overview page, "nat_base.htm": every internet-sharing setting at once. It has no setter.
#pragma once

#include "framework/page.h"

// Renders the page with the records as they are on disk. When the internet-sharing record cannot be
// read message 13 is shown, else when the filter settings cannot be read message 41.
int get_nat_base(const char* message, const FormList* form);

// What the page shows and takes.
PageTables nat_base_tables();
