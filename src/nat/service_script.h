// The appliance's own services in the start-up script "/etc/rc.d/rc.service". A section begins with
// a header line and ends at the first empty line; each line of it begins with a mark: a blank when
// it is active, "#" when it is disabled.
#pragma once

#include "appliance/ppp_conf.h"
#include "base/written.h"

// Rewrites the FTP, e-mail, Telnet and web sections from the record, all in one rewrite, and then
// loads or unloads the module of FTP (act_module).
Written SaveService(const PPPConf& record);

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

// Rewrites one section: every line gets the mark, and the first one is handed to act_module when
// `act` is set. The script gets mode 0744. 0; also 0, without any change, when the section or the
// empty line behind it is missing. 1 when the script cannot be read or its temporary file not
// written.
[[nodiscard]] int SetService(const char* header, char mark, const char* file, bool act);
