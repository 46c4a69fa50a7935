// The interface described by itself: which pages there are, and for each which keys can be read and
// written, which are secret and which are lists. It comes from the tables that the pages work with.
#pragma once

#include "framework/cgi-lib.h"

// The view "api": the description as data, or as the page "api.htm". Reads and changes no settings.
int show_api(const FormList* form);
