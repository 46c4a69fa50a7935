// The Ethernet methods, the service script, the content filter's settings and the firewall switch.
#include "filter/filterconf.h"
#include "filter/firewall.h"
#include "framework/paths.h"
#include "framework/profile.h"
#include "nat/service_script.h"
#include "root.h"
#include "wan/wan_conf.h"

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
    const auto switch_off = [] { return SetService("#@FTP", '#', ServiceFile, false); };
    const std::string other = "\n#@Telnet\n line\n\n#@FTP \n line\n\n", x100(100, 'x');
    expect_files(switch_off, ServiceFile, ServiceFile,
                 {{other + "#@FTP\n one\nxtwo\n\n three", other + "#@FTP\n#one\n#two\n\n three"},
                  {"#@FTP\n " + x100 + "\n\n", "#@FTP\n#" + x100 + "\n\n"}},
                 0744);
    expect_files(switch_off, ServiceFile, ServiceFile,
                 {{other, other}, {"#@FTP\n one\n", "#@FTP\n one\n"}});
    EXPECT_EQ(SetService("#@FTP", '#', "/etc/missing", false), 1);
    EXPECT_TRUE(std::filesystem::is_empty("/www"));
    put_program("/sbin/pidof");
    put_program("/sbin/ifconfig", "echo eth0: no device");
    PPPConf record;
    record.SrvWeb = record.SrvFTP = 1;
    const auto save = [&] { return (SaveService(record), 0); };
    expect_files(save, ServiceFile, ServiceFile,
                 {{"#@HTTP (WWW)\n#w\n\n#@Telnet\n t\n\n#@E-Mail\n#e\n\n#@FTP\n#f\n\n",
                   "#@HTTP (WWW)\n w\n\n#@Telnet\n#t\n\n#@E-Mail\n#e\n\n#@FTP\n f\n\n"}},
                 0744);
}

TEST_F(Root, SpecialApplicationsAreSwitchedInTheLinkUpScript) {
    put_program("/sbin/pidof");
    put_program("/sbin/ifconfig", "echo eth0: no device");
    put_file(
        FirewallF,
        "ipchains -F\n\n#@Ping\n ipchains a\n#ipchains b\n echo\n\nipchains c\n#@V\n modprobe d");
    const auto on = [] { return (en_sap(), 0); };
    const auto off = [] { return (dis_sap(), 0); };
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
              "ipchains -F\n\n#@Ping\n#ipchains a\n#ipchains b\n echo\n\n"
              "ipchains c\n#@V\n#modprobe d");
    EXPECT_EQ(mode_of(DisFirewallF), 0755U);
    unlink(FirewallF);
    expect_files(off, IPUPF, IPUPF, {{" " + fw, " " + fw}});
}

TEST_F(Root, FilterSettingsAreReadLeniently) {
    put_file(FilterConfF,
             "enable_log ENABLE\nblock_script yes\nblock_applet\ton x\n"
             "block_activex on\nblock_activex\n#block_cookies on\n"
             "filter_state 2x\ncustom_content_state 1\ncustom_content_state x\n"
             "filter_from SATURDAY 23 59\r\nfilter_from monday 24 10\nfilter_from monday 9 60\n"
             "filter_from monday 9\nfilter_to friday 8 5\nfilter_to Holiday 8 30");
    FilterConf record;
    EXPECT_EQ(get_filter_info(&record), 0);
    std::string shown;
    for (const int value :
         {record.enable_log, record.block_script, record.block_applet, record.block_activex,
          record.block_cookies, record.filter_state, record.custom_content_state, record.from_day,
          record.from_hour, record.from_min, record.to_day, record.to_hour, record.to_min})
        shown += std::to_string(value) + " ";
    EXPECT_EQ(shown, "1 0 1 1 0 2 1 6 23 59 0 8 30 ");
    unlink(FilterConfF);
    EXPECT_EQ(get_filter_info(&record), kCannotOpen);
    EXPECT_EQ(record.from_day + record.enable_log, 0);
}

TEST_F(Root, AddressesAreSplitIntoOctets) {
    for (const auto& [text, shown] :
         Pairs{{"1.2.3.4567\n8", "1.2.3.456"}, {"\n1", "..."}, {"10.20", "10.20.."}}) {
        Octets octets;
        extract_ip(text, octets[0], octets[1], octets[2], octets[3]);
        EXPECT_EQ(join_octets(octets), shown);
    }
}

}  // namespace
