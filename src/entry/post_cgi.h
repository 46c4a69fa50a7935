// The driver of requests that act.
#pragma once

#include "framework/cgi-lib.h"

// Runs a post of a form with the field "todo": the setter of the page named by the field
// "this_file" (for the todo "save" the setters of its whole save group), first all in check mode,
// then all in set mode; then the queued actions; then shows "next_file". On a refusal the page is
// shown again with the message and the posted form. Returns the last getter's result. An unknown
// page ends the process with the fatal error page.
int PostCgi(const FormList& form);
