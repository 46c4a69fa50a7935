// The settings of the two Ethernet methods: what the pages edit and the files that keep it.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "framework/text.h"
#include "serial/ppp_conf.h"

using OctetText = Text<4>;  // as typed: up to three characters
using Octets = std::array<OctetText, 4>;

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

// Writes "nat_enable" (nonzero: yes) and "connect_method" into the WAN settings file.
void SaveAccessMethod(int method, int enable);

// Rewrites the WAN settings file (its first three lines stay, every other line that is not PPPoE's
// is lost; mode 0600), the secrets files and "/etc/ppp/pppoe.conf", which a shell script reads.
void SavePPPoeConf(const PPPoeConf& record);

// The account's secret, tagged "PPPoE", in the PAP and CHAP secrets files, both mode 0600. 0, or
// the result of save_secret; a failure of the first file skips the second.
int SavePPPoeSecret(const PPPoeConf& record);

// Writes the interface file "/etc/sysconfig/network-scripts/ifcfg-..." (a shell script reads it)
// and the section "network" of the appliance settings file.
void SaveDirectConf(const DirectConf& record);

// Reads the records. 0; 1 no record; 14 a file is missing (the record holds what was read so far).
int GetPPPoeConf(PPPoeConf* record);
int GetDirectConf(DirectConf* record);

// Splits a dotted address into octets of up to three characters.
void extract_ip(std::string_view text, OctetText& a, OctetText& b, OctetText& c, OctetText& d);

// The octets joined by ".", as they stand.
std::string join_octets(const Octets& octets);

// The first twelve characters of a hardware address as pairs joined by ":".
std::string with_colons(std::string_view hardware_address);

// The first lines of an interface file: device, no start at boot, and how the address is obtained
// ("none" or "dhcp").
std::string interface_head(std::string_view interface, const char* protocol);

// The interfaces named in the settings files, defaults "eth0" and "eth1"; a name that could not
// stand in a command counts as missing.
using InterfaceText = Text<8>;
InterfaceText wan_interface();
InterfaceText lan_interface();

// The first character of "dynamic" in the appliance settings file: 1 DHCP, 0 (the default) fixed.
Text<2> dynamic_setting();

// Writes "nat_interface" into the WAN settings file: "ppp0" for methods 2 and 3, else "eth0".
void set_wan_if(int method);
