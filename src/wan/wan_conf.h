// The settings of the two Ethernet methods: what the pages edit and the files that keep it.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "appliance/addresses.h"
#include "appliance/ppp_conf.h"
#include "base/text.h"
#include "base/written.h"

// The direct connection, as the appliance settings and the interface file hold it.
struct DirectConf {
    int dynamic = 0;  // 1 DHCP, 0 fixed address
    Octets address;
    Octets netmask;
    Octets gateway;
    Text<80> host_name;         // the DHCP host name
    Text<13> hardware_address;  // twelve hexadecimal digits, or empty
    int reserved = 0;
};

// The PPPoE account, as the WAN settings file and pppoe.conf hold it.
struct PPPoeConf {
    SettingText user;
    SettingText password;
    int idle = 0;     // minutes
    int dynamic = 0;  // 1 address assigned by the provider
    Octets address;
    SettingText service;
};

// Rewrites the WAN settings file (its first three lines stay, every other line that is not PPPoE's
// is lost; mode 0600), the secrets files and "/etc/ppp/pppoe.conf", which a shell script reads.
Written SavePPPoeConf(const PPPoeConf& record);

// The account's secret, tagged "PPPoE", in the PAP and CHAP secrets files, both mode 0600. 0, or
// the result of save_secret; a failure of the first file skips the second.
[[nodiscard]] int SavePPPoeSecret(const PPPoeConf& record);

// Writes the interface file "/etc/sysconfig/network-scripts/ifcfg-..." (a shell script reads it)
// and the section "network" of the appliance settings file; the latter only when the former could
// be written. Without DHCP the file has the address, else the host name, if there is one.
Written SaveDirectConf(const DirectConf& record);

// Read the records, the first from the WAN settings file and "/etc/ppp/pppoe.conf", the second from
// the appliance settings file. What a file does not say is empty, the idle time 5 minutes, PPPoE's
// address the provider's. 0; 1 no record; 14 a file is missing or cannot be read (the record holds
// what was read so far).
[[nodiscard]] int GetPPPoeConf(PPPoeConf* record);
[[nodiscard]] int GetDirectConf(DirectConf* record);

// The first twelve characters of a hardware address as pairs joined by ":".
std::string with_colons(std::string_view hardware_address);

// The first lines of an interface file: device, no start at boot, and how the address is obtained
// ("none" or "dhcp").
std::string interface_head(std::string_view interface, const char* protocol);

// GetDirectConf for one who is going to write: false without the file; one that cannot be read
// throws Unreadable (files.h).
[[nodiscard]] bool read_direct_conf(DirectConf& record);
