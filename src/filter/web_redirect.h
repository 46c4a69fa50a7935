// The lines of the services script that send the LAN's web requests through the filtering proxy.
#pragma once

// Switches the lines behind "# All web" in "/etc/rc.d/rc.service" on, or off for kFilterNever, and
// runs the link-up scripts again. The script gets mode 0777. 0; 1 when it cannot be read or
// written, and nothing has changed.
[[nodiscard]] int set_rc_service(int filter_state);
