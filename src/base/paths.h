// The files of the appliance, each named once, so that every writer and reader names it the same
// way.
#pragma once

// Internet-sharing configuration record. The short ".con" is the name that the appliance has always
// used; backups and scripts know it.
inline constexpr char PppConfFile[] = "/etc/ppp/nat_ppp.con";
inline constexpr char PppTmpFile[] = "/etc/ppp/nat_ppp.tmp";

// WAN settings, PPPoE and interface files.
inline constexpr char NatConfF[] = "/etc/ppp/CGI_nat.conf";
inline constexpr char NatConfTmpF[] = "/etc/ppp/CGI_nat.tmp";
inline constexpr char PPPoeConfF[] = "/etc/ppp/pppoe.conf";
inline constexpr char IfCfgEth0F[] = "/etc/sysconfig/network-scripts/ifcfg-eth0";
inline constexpr char DynaF[] = "/tmp/dyna";

// Appliance settings, sections "network" and "ACC_CTRL".
inline constexpr char QSCfgF[] = "/etc/CGI_qs.conf";
inline constexpr char CgiQSFile[] = "/etc/CGI_qs.conf";

// Dial-up: diald, pppd, chat.
inline constexpr char SerialTag[] = "Serial";
inline constexpr char UserF[] = "/etc/ppp/user";
inline constexpr char DialF[] = "/etc/ppp/dial";
inline constexpr char DialdF[] = "/etc/diald.conf";
inline constexpr char DialdTmpF[] = "/etc/diald.tmp";
inline constexpr char PapF[] = "/etc/ppp/pap-secrets";
inline constexpr char PapTmpF[] = "/etc/ppp/pap.tmp";
inline constexpr char ChapF[] = "/etc/ppp/chap-secrets";
inline constexpr char ChapTmpF[] = "/etc/ppp/chap.tmp";
inline constexpr char PPPOnF[] = "/etc/ppp/pppon";
inline constexpr char DialerF[] = "/etc/ppp/pppondialer";
inline constexpr char DialerTmpF[] = "/etc/ppp/Dialer.tmp";
inline constexpr char TelF[] = "/etc/ppp/tel";
inline constexpr char TelTmpF[] = "/etc/ppp/tel.tmp";
inline constexpr char OptionF[] = "/etc/ppp/options.ttyS0";
inline constexpr char OptionTmpF[] = "/etc/ppp/ttyS0.tmp";
inline constexpr char FilterF[] = "/usr/lib/diald/standard.filter";
inline constexpr char FilterTmpF[] = "/usr/lib/diald/tmp.filter";
inline constexpr char DefFilterF[] = "/usr/lib/diald/default.filter";

// The modem list.
inline constexpr char ModemFile[] = "/etc/ppp/modem.ini";

// Logs of the links.
inline constexpr char PppdLogF[] = "/var/log/pppd.log";
inline constexpr char Ppp0LogF[] = "/var/log/ppp0.log";
inline constexpr char Ppp1LogF[] = "/var/log/ppp1.log";

// Resolver and kernel settings.
inline constexpr char DNSF[] = "/etc/resolv.conf";
inline constexpr char DNSTmpF[] = "/etc/resolv.tmp";
inline constexpr char DNSKey[] = "dns_server1=";
inline constexpr char DNSKey2[] = "dns_server2=";
inline constexpr char DNSKey3[] = "dns_server3=";
inline constexpr char NetworkF[] = "/etc/sysctl.conf";
inline constexpr char NetTmpF[] = "/etc/sysctl.tmp";
inline constexpr char Key[] = "net.ipv4.ip_forward";
inline constexpr char Enable[] = "1";
inline constexpr char Disable[] = "0";

// Scripts that run at link-up.
inline constexpr char VSF[] = "/etc/rc.d/rc.ipvs";
inline constexpr char IPUPF[] = "/etc/ppp/ip-up";
inline constexpr char ServiceFile[] = "/etc/rc.d/rc.service";
inline constexpr char FirewallF[] = "/etc/rc.d/rc.firewall";
inline constexpr char DisFirewallF[] = "/etc/rc.d/dis_rc.firewall";
inline constexpr char FirewallTmpF[] = "/etc/rc.d/fw.tmp";
inline constexpr char AccessControlF[] = "/etc/rc.d/rc.ac_ctrl";

// The filtering proxy.
inline constexpr char SquidPath[] = "/usr/local/squid/bin/";
inline constexpr char SquidConfF[] = "/usr/local/squid/etc/squid.conf";
inline constexpr char SquidPidF[] = "/usr/local/squid/logs/squid.pid";
inline constexpr char FilterConfF[] = "/usr/local/squid/etc/filter.conf";

// The appliance's own network programs.
inline constexpr char SetTcpF[] = "/usr/share/quillstead/network/NET_SetTCPIP";
inline constexpr char SetNetTalkF[] = "/usr/share/quillstead/network/NET_SetNetatalk";
inline constexpr char SetDHCPF[] = "/usr/share/quillstead/network/NET_SetDHCPServer";
inline constexpr char SetModuleF[] = "/usr/share/quillstead/public/PUB_SetModule";
