// The state of the connection, as members of an answer that is data.
#pragma once

#include <string>
#include <string_view>

#include "framework/cgi-lib.h"

// Status pages tell the state of the connection in force, and so do all others to a request that
// has the field "state=yes". `form` may be null; it must live as long as the request.
void offer_link_members(const FormList* form);
