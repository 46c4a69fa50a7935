// The Ethernet methods, the service script, the content filter's settings and the firewall switch.
#include "filter/filterconf.h"
#include "filter/firewall.h"
#include "framework/paths.h"
#include "framework/profile.h"
#include "nat/address_fields.h"
#include "nat/service_script.h"
#include "root.h"
#include "wan/wan_conf.h"
#include "wan/wanport.h"

namespace {

TEST_F(Root, PPPoeAccounts) {
    const std::string kept = "nat_enable=yes\r\nwhatever\nconnect_method=1\n";
    put_file(NatConfF, kept + "extra=1\npppoe_username=old\n", 0644);
    put_file(PPPoeConfF, "ETH=eth0\nUSER=old\nDEMAND=no\n", 0640);
    const PPPoeConf typed{"joe#1@isp", "p w", 10, 0, {"1", "2", "3", "4"}, "ISP $1"};
    SavePPPoeConf(typed);
    EXPECT_EQ(content(NatConfF), kept +
                                     "pppoe_username=joe#1@isp\npppoe_password=p w\nidle=10\n"
                                     "pppoe_dyna=0\npppoe_ip=1.2.3.4");
    EXPECT_EQ(content(PPPoeConfF),
              "ETH=eth0\nUSER='joe#1@isp'\nDEMAND=600\nPPPOE_TIMEOUT=600\n"
              "PPPOE_EXTRA=\"-S ISP \\$1\"\n");
    EXPECT_EQ(content(ChapF),
              "#client\tserver\tsecret\tIP address\n#PPPoE\n"
              "\"joe#1@isp\"\tppp0\t\"p w\"\n");
    for (const char* file : {NatConfF, PapF, ChapF}) EXPECT_EQ(mode_of(file), 0600U) << file;
    PPPoeConf read;
    EXPECT_EQ(GetPPPoeConf(&read), 0);
    EXPECT_EQ(join_octets(read.address) + read.service.c_str(), "1.2.3.4ISP $1");
    EXPECT_EQ(std::string(read.user) + read.password.c_str(), "joe#1@ispp w");
    EXPECT_EQ(read.idle * 10 + read.dynamic, 100);
    unlink(NatConfF);
    SavePPPoeConf({"joe", "pw", 0, 1, {}, ""});
    EXPECT_EQ(content(NatConfF),
              "nat_enable=no\nnat_interface=eth0\nconnect_method=2\npppoe_username=joe\n"
              "pppoe_password=pw\nidle=0\npppoe_dyna=1\npppoe_ip=\n");
    EXPECT_EQ(content(PPPoeConfF),
              "ETH=eth0\nUSER=joe\nDEMAND=no\nPPPOE_TIMEOUT=0\nPPPOE_EXTRA=\"\"\n");
    put_file(NatConfF, "nat_enable=no\n");
    put_file(PPPoeConfF, "PPPOE_EXTRA=\"-x -S my isp  \" # -S\n");
    EXPECT_EQ(GetPPPoeConf(&read), 0);
    EXPECT_EQ(read.service, "my isp");
    EXPECT_EQ(read.idle * 10 + read.dynamic, 51);
    unlink(PPPoeConfF);
    EXPECT_EQ(GetPPPoeConf(&read) + GetPPPoeConf(nullptr), 15);
}

TEST_F(Root, DirectConnections) {
    const std::string file = "/etc/sysconfig/network-scripts/ifcfg-eth0";
    put_file(QSCfgF, "[ACC_CTRL]\nacc_en=0\n");
    SaveDirectConf(
        {0, {"1", "2", "3", "4"}, {"255", "0", "0", "0"}, {"1", "2", "3", "1"}, "box", ""});
    EXPECT_EQ(content(file),
              "DEVICE=eth0\nONBOOT=no\nBOOTPROTO=none\nIPADDR=1.2.3.4\n"
              "NETMASK=255.0.0.0\nGATEWAY=1.2.3.1\n");
    EXPECT_EQ(content(QSCfgF),
              "[ACC_CTRL]\nacc_en=0\n[network]\nwan_ipaddr=1.2.3.4\nwan_netmask=255.0.0.0\n"
              "wan_gateway=1.2.3.1\nwan_name=box\ndynamic=0\nwan_hw_addr=\n");
    DirectConf read;
    EXPECT_EQ(GetDirectConf(&read), 0);
    EXPECT_EQ(join_octets(read.address) + join_octets(read.netmask) + join_octets(read.gateway),
              "1.2.3.4255.0.0.01.2.3.1");
    put_file(NatConfF, "nat_interface=eth0;reboot\n");
    SaveDirectConf({1, {}, {}, {}, "my box", "00A0C9112233"});
    EXPECT_EQ(content(file),
              "DEVICE=eth0\nONBOOT=no\nBOOTPROTO=dhcp\nDHCP_HOSTNAME='my box'\n"
              "MACADDR=00:A0:C9:11:22:33\n");
    for (const auto& [line, address] :
         Pairs{{"00A0C911223344", "00A0C9112233"}, {" 00", ""}, {"", ""}}) {
        put_file(QSCfgF, "dynamic=1\nwan_hw_addr=" + line + "\nwan_ipaddr=\n");
        EXPECT_EQ(GetDirectConf(&read), 0);
        EXPECT_EQ(read.hardware_address, address);
        EXPECT_EQ(join_octets(read.address) + std::to_string(read.dynamic), "...1");
    }
    unlink(QSCfgF);
    EXPECT_EQ(GetDirectConf(&read) + GetDirectConf(nullptr), 15);
}

TEST_F(Root, SectionsOfTheServiceScript) {
    const std::string other = "\n#@Telnet\n line\n\n#@FTP \n line\n\n";
    expect_files(
        [] { return SetService("#@FTP", '#', ServiceFile, false); }, ServiceFile, ServiceFile,
        {{"head" + other + "#@FTP\n one\nxtwo\n\n three",
          "head" + other + "#@FTP\n#one\n#two\n\n three"},
         {"#@FTP\n" + std::string(100, ' ') + "x\n\n", "#@FTP\n#" + std::string(99, ' ') + "x\n\n"},
         {"#@FTP\n\n one\n", "#@FTP\n\n one\n"}},
        0744);
    expect_files([] { return SetService("#@FTP", '#', ServiceFile, false); }, ServiceFile,
                 ServiceFile,
                 {{"head" + other, "head" + other}, {"#@FTP\n one\n", "#@FTP\n one\n"}});
    EXPECT_EQ(SetService("#@FTP", '#', "/etc/missing", false), 1);
    EXPECT_TRUE(std::filesystem::is_empty("/www"));
    put_file(ServiceFile, "#@HTTP (WWW)\n#w\n\n#@Telnet\n t\n\n#@E-Mail\n#e\n\n#@FTP\n f\n\n");
    PPPConf record;
    record.SrvWeb = record.SrvFTP = 1;
    SaveService(record);
    EXPECT_EQ(content(ServiceFile),
              "#@HTTP (WWW)\n w\n\n#@Telnet\n#t\n\n#@E-Mail\n#e\n\n#@FTP\n f\n\n");
}

TEST_F(Root, ModulesAreLoadedWhileALinkIsUp) {
    for (const char* program : {"modprobe", "rmmod", "lsmod", "grep", "PUB_SetModule"})
        put_program(std::string("/sbin/") + program, "echo \"ip_ftp 100 $USERS\"");
    std::filesystem::create_directories("/usr/share/quillstead/public");
    ASSERT_EQ(symlink("/sbin/PUB_SetModule", SetModuleF), 0);
    const struct {
        const char *pppd, *users;
        std::string_view line, calls;
    } cases[] = {{"17", "0", " modprobe ip_ftp\n", "modprobe ip_ftp\nPUB_SetModule -m ip_ftp -s\n"},
                 {"17", "0", "#modprobe ip_ftp ports=21\n", "rmmod ip_ftp\ngrep ip_ftp\n"},
                 {"17", "2", "#modprobe ip_ftp\n",
                  "rmmod ip_ftp\ngrep ip_ftp\nPUB_SetModule -m ip_ftp -f\n"},
                 {"17", "2", "xmodprobe ip_ftp\n", "rmmod ip_ftp\nPUB_SetModule -m ip_ftp -s\n"},
                 {"17", "0", " modprobe a;reboot\n", ""},
                 {"", "0", " modprobe ip_ftp\n", ""}};
    for (const auto& c : cases) {
        setenv("USERS", c.users, 1);
        put_file("/sbin/pidof", "#!/bin/sh\necho " + std::string(c.pppd) + "\n", 0755);
        put_file("/sbin/ifconfig", "#!/bin/sh\necho eth0: no device\n", 0755);
        put_program("/sbin/lsmod");
        put_file("/tmp/calls", "");
        act_module(c.line);
        std::string calls = content("/tmp/calls");
        if (const auto lsmod = calls.find("lsmod \n"); lsmod != calls.npos) calls.erase(lsmod, 7);
        EXPECT_EQ(calls, c.calls) << c.line;
    }
}

TEST_F(Root, SpecialApplicationsAreSwitchedInTheLinkUpScript) {
    const std::string rules =
        "extif=$1\nipchains -F\n\n#@Ping\n ipchains a\n#ipchains b\n echo\n\nipchains c\n#@V\n "
        "modprobe d";
    put_file("/sbin/ifconfig", "#!/bin/sh\necho eth0: no device\n", 0755);
    put_file(FirewallF, rules);
    const auto on = [] {
        en_sap();
        return 0;
    };
    const auto off = [] {
        dis_sap();
        return 0;
    };
    const std::string dis = "/etc/rc.d/dis_rc.firewall $1\n", fw = "/etc/rc.d/rc.firewall $1\n";
    expect_files(off, IPUPF, IPUPF,
                 {{"a\n " + fw + "b", "a\n#" + fw + "b\n " + dis},
                  {fw + "#" + dis, "#" + fw + " " + dis},
                  {"#" + fw + " " + dis, "#" + fw + " " + dis}},
                 0755);
    expect_files(on, IPUPF, IPUPF,
                 {{"#" + fw, " " + fw + "#" + dis},
                  {fw + dis, fw + "#" + dis},
                  {"#" + fw + " " + dis, " " + fw + "#" + dis}},
                 0755);
    EXPECT_EQ(content(DisFirewallF),
              "extif=$1\nipchains -F\n\n#@Ping\n#ipchains a\n#ipchains b\n echo\n\n"
              "ipchains c\n#@V\n#modprobe d");
    EXPECT_EQ(mode_of(DisFirewallF), 0755U);
    unlink(FirewallF);
    expect_files(off, IPUPF, IPUPF, {{" " + fw, " " + fw}});
}

TEST_F(Root, FilterSettingsAreReadLeniently) {
    FilterConf record;
    const auto moment = [&] {
        return record.from_day * 10000 + record.from_hour * 100 + record.from_min;
    };
    for (const auto& [line, expected] :
         Pairs{{"enable_log ENABLE", "1 0 0"},
               {"enable_log\ton x", "1 0 0"},
               {"enable_log yes", "0 0 0"},
               {"enable_log on\nenable_log", "1 0 0"},
               {"#enable_log on", "0 0 0"},
               {"filter_state 2x", "0 2 0"},
               {"filter_state 2\nfilter_state x", "0 2 0"},
               {"filter_from SATURDAY 23 59\r", "0 0 62359"},
               {"filter_from Holiday 8 30", "0 0 830"},
               {"filter_from friday 8 5\nfilter_from monday 24 10", "0 0 50805"},
               {"filter_from friday 8 5\nfilter_from monday 9", "0 0 50805"}}) {
        put_file(FilterConfF, line);
        EXPECT_EQ(get_filter_info(&record), 0);
        EXPECT_EQ(std::to_string(record.enable_log) + " " + std::to_string(record.filter_state) +
                      " " + std::to_string(moment()),
                  expected)
            << line;
    }
    unlink(FilterConfF);
    EXPECT_EQ(get_filter_info(&record), kCannotOpen);
    EXPECT_EQ(moment(), 0);
}

TEST_F(Root, LinksAndAddresses) {
    put_program("/sbin/grep",
                "while read -r line; do case $line in *\"$1\"*) echo \"$line\"; esac; done");
    put_file(NatConfF, "nat_enable=yes\n");
    for (const auto& [address, expected] : Pairs{{"10.112.112.112", "10"},
                                                 {"10.0.0.2", "10"},
                                                 {"10.0.0.20", "11"},
                                                 {"0.0.0.0", "00"},
                                                 {"", "00"}}) {
        put_file("/sbin/ifconfig", "#!/bin/sh\necho \" inet addr:" + address + " P-t-P:1\"\n",
                 0755);
        EXPECT_EQ(std::to_string(IsInterface("eth0")) + std::to_string(IsInterface("ppp0")),
                  expected);
    }
    for (const auto& [pids, running] : Pairs{{"17", "1"}, {"7", "0"}, {"7 8", "0"}, {"", "0"}}) {
        put_file("/sbin/pidof", "#!/bin/sh\necho " + pids + "\n", 0755);
        EXPECT_EQ(std::to_string(IsRunning("diald")), running) << pids;
    }
    OctetText a, b, c, d;
    for (const auto& [text, octets] : Pairs{{"1.2.3.4\n", "1,2,3,4"},
                                            {"", ",,,"},
                                            {"\n1", ",,,"},
                                            {"10.20", "10,20,,"},
                                            {"1.2.3.4567", "1,2,3,456"}}) {
        extract_ip(text, a, b, c, d);
        EXPECT_EQ(std::string(a) + "," + b.c_str() + "," + c.c_str() + "," + d.c_str(), octets);
    }
    AddressText address;
    first_octet(address, "12a");
    middle_octet(address, "x");
    last_octet(address, "4");
    EXPECT_EQ(address, "12a.4");
    first_octet(address, "x");
    last_octet(address, "4");
    EXPECT_EQ(address, "");
    EXPECT_TRUE(octet_fits("12a"));
    for (const char* octet : {"1234", "1;", "$x"}) EXPECT_FALSE(octet_fits(octet)) << octet;
    EXPECT_FALSE(octet_fits(nullptr));
}

}  // namespace
