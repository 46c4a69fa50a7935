// The WAN connection: bringing the configured method up or down. At most one WAN link is up: every
// starter first stops whatever other link it finds.
#pragma once

#include "appliance/ppp_conf.h"

// Bring a method up, when it is the configured one, or all down, when none is. A link that is up
// then has its interface in the WAN settings file, IP forwarding as sharing is switched
// (RestartNet), and the proxy running. 0, whatever its commands return; what could not be read or
// written the page tells (failures.h).
int DisableWAN();
int RunModemConnect();   // not when diald runs already
int RunPPPoeConnect();   // rewrites "/etc/sysconfig/network-scripts/ifcfg-eth0" first
int RunDirectConnect();  // the same, from the settings (SaveDirectConf); writes "/tmp/dyna"

// Starts the proxy and then the configured method; the starter's result. (Action "RSNat".)
int RunWANConnect();

// Take one method down, by the appliance's scripts, whether it is up or not.
void StopModemConnect();
void StopPPPoeConnect();
void StopDirectConnect();

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

// Saves the modem method's files: record, chat script, secrets, pppd options. The first result that
// is not 0.
[[nodiscard]] int SaveModemConf(const PPPConf& record);
