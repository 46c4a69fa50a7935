// The page of the content filter's settings, "nat_filter.htm".
#pragma once

#include <span>

#include "framework/page.h"

// Renders the page. Its fields echo a form; the settings in force are on the overview.
int get_nat_filter(const char* message, const FormList* form);

// On "save" checks the fields and, in set mode, writes the settings that changed and queues
// "RCFilter". A field that the form lacks stays as it is. Another schedule switches the web
// redirection at once, when checking already. Refuses with message 41, or with the number of the
// value that is out of range.
int set_nat_filter(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                   int mode, Message& message);

// The page's fields with the settings in force, for the overview, which reads them first: 0, or -37
// when they cannot be read.
extern const std::span<const KeyGetter> filter_getters;
[[nodiscard]] int read_shown_filter();

// What the page shows and takes.
PageTables nat_filter_tables();
