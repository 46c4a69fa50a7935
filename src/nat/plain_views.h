// The views that are no pages: answers for scripts and for whoever keeps a log.
#pragma once

#include "framework/cgi-lib.h"

// The whole log file that the field `name` names ("pppd", "ppp0", "ppp1", or "filter" for the
// proxy's), as a download "NAME.log" of plain text without the passwords (log_mask.h). A missing
// file is an empty log; status 404 for another name. A file of any length takes the same memory.
// Where reading fails later than at the beginning, the last line says so. 0; throws Unreadable.
int show_log(const FormList* form);

// The hosts of the LAN (hosts.h) as JSON, an array of objects with the strings "address", "name"
// and "mac". 0; throws Unreadable.
int show_hosts(const FormList* form);

// What is being changed by the request that has the turn, as JSON: {"busy": null}, or an object
// with "page", "todo", "user", "address", "seconds", "command" (null while none runs) and
// "command_seconds". 0.
int show_progress(const FormList* form);
