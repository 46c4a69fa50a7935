// The script "/etc/rc.d/rc.ipvs" that publishes the virtual servers and the DMZ host.
#pragma once

// Writes the script from the internet-sharing record (ipvsadm(8), ipchains(8)), sets the "dmz"
// switch of "/etc/ppp/ip-up", and applies both by running ip-up for the interface of the WAN
// method. 0; 1 the record cannot be read, 2 the script cannot be written. (Action "SaVS".)
int SaveAndRunVS();
