// The answers that are not pages of the page table.
#pragma once

#include <string_view>

#include "framework/cgi-lib.h"

// The message page: the outcome ("Successful" for a nonzero flag, else "Failure"), a text and a
// link back, behind the HTTP header. Nothing is escaped. Returns 0, or -1 when writing failed.
int HtmlMsg(std::string_view text, std::string_view back_link, int outcome);

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

// Renders "update.htm", a page without keys of its own.
int get_update(const char* message, const FormList* form);
