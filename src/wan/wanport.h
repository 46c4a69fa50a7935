// The WAN connection: bringing the configured method up or down. At most one WAN link is up: every
// starter first stops whatever other link it finds.
#pragma once

#include "appliance/ppp_conf.h"

// Bring a method up, when it is the configured one, or all down, when none is; 0.
int DisableWAN();
int RunModemConnect();
int RunPPPoeConnect();
int RunDirectConnect();

// Starts the proxy and then the configured method; the starter's result. (Action "RSNat".)
int RunWANConnect();

// Take one method down.
void StopModemConnect();
void StopPPPoeConnect();
void StopDirectConnect();

// Saves the modem method's files: record, chat script, secrets, pppd options. The first result that
// is not 0.
[[nodiscard]] int SaveModemConf(const PPPConf& record);
