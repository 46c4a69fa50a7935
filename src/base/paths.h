// The files of the appliance that this program reads, writes or names in a command, each named
// once, so that all who mean a file mean the same one. The programs
// that it runs are named in commands.h.
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
inline constexpr char IfCfgF[] = "/etc/sysconfig/network-scripts/ifcfg-%s";  // of any interface
inline constexpr char IfCfgPpp0F[] = "/etc/sysconfig/network-scripts/ifcfg-ppp0";
inline constexpr char IfCfgAnyF[] = "/etc/sysconfig/network-scripts/ifcfg-*";
inline constexpr char DynaF[] = "/tmp/dyna";

// Appliance settings, sections "network" and "ACC_CTRL". The second name is for the switch of
// access control, which the services page shares with the page of the groups.
inline constexpr char QSCfgF[] = "/etc/CGI_qs.conf";
inline constexpr const auto& CgiQSFile = QSCfgF;

// Dial-up: diald, pppd, chat.
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

// The port that the modem is on.
inline constexpr char SerialPortF[] = "/dev/ttyS0";

// The modem list.
inline constexpr char ModemFile[] = "/etc/ppp/modem.ini";

// Logs of the links.
inline constexpr char PppdLogF[] = "/var/log/pppd.log";
inline constexpr char Ppp0LogF[] = "/var/log/ppp0.log";
inline constexpr char Ppp1LogF[] = "/var/log/ppp1.log";

// Who is in the LAN: what dhcpd has leased, and the kernel's ARP table.
inline constexpr char LeasesF[] = "/var/lib/dhcpd.leases";
inline constexpr char ArpF[] = "/proc/net/arp";

// Resolver and kernel settings.
inline constexpr char DNSF[] = "/etc/resolv.conf";
inline constexpr char DNSTmpF[] = "/etc/resolv.tmp";
inline constexpr char NetworkF[] = "/etc/sysctl.conf";
inline constexpr char NetTmpF[] = "/etc/sysctl.tmp";

// Scripts that run at link-up.
inline constexpr char VSF[] = "/etc/rc.d/rc.ipvs";
inline constexpr char IPUPF[] = "/etc/ppp/ip-up";
inline constexpr char IpDownF[] = "/etc/ppp/ip-down";
inline constexpr char WanScriptF[] = "/etc/rc.d/rc.wan";
inline constexpr char ServiceFile[] = "/etc/rc.d/rc.service";
inline constexpr char FirewallF[] = "/etc/rc.d/rc.firewall";
inline constexpr char DisFirewallF[] = "/etc/rc.d/dis_rc.firewall";
inline constexpr char FirewallTmpF[] = "/etc/rc.d/fw.tmp";
inline constexpr char AccessControlF[] = "/etc/rc.d/rc.ac_ctrl";

// The filtering proxy. Its settings may name other site lists, another log and another pid file.
inline constexpr char SquidPath[] = "/usr/local/squid/bin/";
inline constexpr char SquidConfF[] = "/usr/local/squid/etc/squid.conf";
inline constexpr char SquidPidF[] = "/usr/local/squid/logs/squid.pid";
inline constexpr char SquidLogF[] = "/usr/local/squid/logs/access.log";
inline constexpr char FilterConfF[] = "/usr/local/squid/etc/filter.conf";
inline constexpr char AllowListF[] = "/usr/local/squid/etc/access.list";
inline constexpr char BanListF[] = "/usr/local/squid/etc/deny.list";
inline constexpr char AnyListF[] = "/usr/local/squid/etc/*.list";

// A host in the internet that a diagnosis asks the name servers for and then calls at its web port.
// This one is there for examples; a firmware may name one that its maker keeps.
inline constexpr char OutsideHost[] = "example.com";

// The appliance's own network programs.
inline constexpr char SetTcpF[] = "/usr/share/quillstead/network/NET_SetTCPIP";
inline constexpr char SetNetTalkF[] = "/usr/share/quillstead/network/NET_SetNetatalk";
inline constexpr char SetDHCPF[] = "/usr/share/quillstead/network/NET_SetDHCPServer";
inline constexpr char SetDNSF[] = "/usr/share/quillstead/network/NET_SetDNS";
inline constexpr char SetModuleF[] = "/usr/share/quillstead/public/PUB_SetModule";
inline constexpr char NetworkInfoF[] = "/usr/share/quillstead/network/NET_ReadNetworkInfo";

// All settings at once: those of the factory, and an archive that waits to be restored.
inline constexpr char FactoryF[] = "/usr/share/quillstead/factory.tar";
inline constexpr char RestoreF[] = "/run/quillstead-admin/restore";
