// The WAN connection: bringing the configured method up or down. At most one WAN link is up: every
// starter first stops whatever other link it finds.
#pragma once

#include "serial/ppp_conf.h"

// 1 when a program runs: "pidof" gives a pid of at least two digits for it. `program` is its name,
// with "-x " before it for a script.
int IsRunning(const char* program);

// 1 when sharing is on and the interface has a usable address. On a PPP interface the placeholders
// of a link that has not dialled yet do not count.
int IsInterface(const char* interface);

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

// Reruns the link-up script when sharing is on and the WAN interface has an address, so that the
// scripts which it runs apply again.
void Run_ip_up();

// Saves the modem method's files: record, chat script, secrets, pppd options. The first result that
// is not 0.
int SaveModemConf(const PPPConf& record);
