// The network of the LAN, as the appliance's settings have it.
#pragma once

#include <string>

// True when a host with this address is in another network than the LAN. The appliance itself is
// not, nor is anybody while the LAN's network or the host's address is unknown; a host that has
// none of IPv4 is. Reads "/etc/CGI_qs.conf", whose trouble throws Unreadable.
bool is_outside_lan(std::string address);
