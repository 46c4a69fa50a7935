// The internet-sharing record, and what a save cannot show of the files behind it.
#include "framework/files.h"
#include "framework/paths.h"
#include "framework/profile.h"
#include "nat/dial_files.h"
#include "nat/process.h"
#include "root.h"
#include "wan/wan_conf.h"

namespace {

auto lines_of(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

TEST_F(Root, AMissingRecordIsCreatedAndTheFirstSaveReordersIt) {
    put_file(NatConfF, "nat_enable=yes\n");
    put_file(QSCfgF, "dns_server2=9.9.9.9\n");
    PPPConf record;
    record.Changed = record.NetChanged = 7;
    ASSERT_EQ(ReadPPPConfig(&record), 0);
    const std::string fresh = content(PppConfFile);
    EXPECT_EQ(mode_of(PppConfFile), kSecretMode);
    EXPECT_EQ(lines_of(fresh), 60);
    EXPECT_NE(fresh.find("Idle=2\nDynamicIP=1\nIP=10.0.0.1\n"), fresh.npos);
    EXPECT_NE(fresh.find("VPN_IPSEC=500\nVPN_PPTP=1723\nVS_UD1=0\n"), fresh.npos);
    EXPECT_EQ(record.NatEnable * 100 + record.NetChanged * 10 + record.Changed, 170);
    record.NatEnable = 0;
    record.BaudRate = -1;
    record.WebPort = 4294967295;
    record.UD[4].set_name("game");
    Message message;
    ASSERT_EQ(SavePPPConf(record, message), 0);
    EXPECT_EQ(content(PppConfFile),
              "Method=0\nBaudRate=-1\nModem=_Standard Modem\nInitStr=AT&F\nDialType=0\nUser=\n"
              "Password=\nSecurity=0\nIdle=2\nDynamicIP=1\nIP=10.0.0.1\nPhone1=\nPhone2=\nPhone3=\n"
              "DNS=9.9.9.9\nRetry=3\nSrvWeb=1\nSAP=1\nSrvEMail=1\nSrvFTP=1\nSrvTelNet=1\n"
              "Web=0\nWebIP=\nWebPort=4294967295\nPop3=0\nPop3IP=\nPop3Port=110\nSmtp=0\nSmtpIP=\n"
              "SmtpPort=25\nFtp=0\nFtpIP=\nFtpDataPort=20\nFtpCtlPort=21\nHttps=0\n"
              "VS_UD1=0\nUD1_Name=\nUD1_IP=\nUD1_Port=0\nVS_UD2=0\nUD2_Name=\nUD2_IP=\nUD2_Port=0\n"
              "VS_UD3=0\nUD3_Name=\nUD3_IP=\nUD3_Port=0\nVS_UD4=0\nUD4_Name=\nUD4_IP=\nUD4_Port=0\n"
              "VS_UD5=0\nUD5_Name=game\nUD5_IP=\nUD5_Port=0\nDMZ=0\nDMZ_IP=\n");
    EXPECT_EQ(mode_of(PppConfFile), kSecretMode);
    EXPECT_EQ(content(NatConfF), "nat_enable=no\n");
}

TEST_F(Root, RecordsAreReadWithTheirQuirks) {
    PPPConf record;
    put_file(PppConfFile, "Method=2");
    ASSERT_EQ(ReadPPPConfig(&record), 0);
    EXPECT_EQ(std::string(record.IP) + record.Modem.c_str(), "_Standard Modem");
    EXPECT_EQ(record.Idle * 1000U + static_cast<unsigned>(record.SAP) * 100 + record.FtpCtlPort,
              2121U);
    EXPECT_EQ(Nat_Method(), kNoMethod);
    put_file(NatConfF, "nat_enable=on\n");
    EXPECT_EQ(Nat_Method(), kPPPoE);
    put_file(PppConfFile,
             "WebIP=1.2.3.4\nWeb=0\nIdle=\nUser=joe\r\nDNS=5\nIP=123.123.123.1234\nPhone1=" +
                 std::string(70, '1') + "\nUD1_Name=ABCDEFGHIJKLMNOP\nUD1_IP=1.2.3.4\nBaudRate=x");
    ASSERT_EQ(ReadPPPConfig(&record), 0);
    EXPECT_EQ(record.Web * 100 + record.Idle + record.BaudRate, 100);
    EXPECT_EQ(record.User, "joe\r");
    EXPECT_EQ(record.DNS, "");
    EXPECT_EQ(record.IP, "123.123.123.123");
    EXPECT_EQ(record.Phone1, std::string(59, '1'));
    EXPECT_EQ(record.UD[0].Name(), "ABCDEFGHIJKLMNO1.2.3.4");
}

TEST_F(Root, AFailedSaveIsToldAndLeavesTheSwitch) {
    put_file("cgi_err", "14-no %s\n");
    put_file(NatConfF, "nat_enable=no\n");
    put_file(PppConfFile, "Method=1\n");
    PPPConf record = d_conf;
    record.NatEnable = 1;
    Message message;
    put_folder(PppTmpFile);
    EXPECT_EQ(SavePPPConf(record, message), 1);
    EXPECT_EQ(message, "no /etc/ppp/nat_ppp.tmp\n");
    EXPECT_EQ(content(PppConfFile), "Method=1\n");
    put_folder(PppConfFile);
    std::filesystem::remove(PppTmpFile);
    EXPECT_EQ(SavePPPConf(record, message), 3);
    EXPECT_EQ(message, "Cannot rename /etc/ppp/nat_ppp.tmp to /etc/ppp/nat_ppp.con");
    EXPECT_EQ(lines_of(content(PppTmpFile)), 57);
    EXPECT_EQ(mode_of(PppTmpFile), kSecretMode);
    EXPECT_EQ(content(NatConfF), "nat_enable=no\n");
    std::filesystem::rename("/etc/ppp", "/etc/gone");
    record.Changed = 1;
    EXPECT_EQ(ReadPPPConfig(&record), 1);
    EXPECT_EQ(record.Idle * 10 + record.Changed, 30);
    EXPECT_EQ(SaveTel(), 1);
}

TEST_F(Root, LinesOfTheResolverAndTheKernelSettings) {
    put_file(QSCfgF, "dns_server1=9.9.9.9\n");
    put_file(PppConfFile, "");
    expect_files(SaveDNS, DNSF, DNSF,
                 {{"search x\nnameserver 1\nnameserver 2\nn", "search x\nnameserver 9.9.9.9\nn"},
                  {" nameserver 1", " nameserver 1\nnameserver 9.9.9.9\n"}});
    expect_files(
        [] { return SetIPV4(Enable); }, NetworkF, NetworkF,
        {{"#net.ipv4.ip_forward=0\nnet.ipv4.ip_forward \t= 0 # x\nnet.ipv4.ip_forward_x=0\n",
          "#net.ipv4.ip_forward=0\nnet.ipv4.ip_forward=1\nnet.ipv4.ip_forward_x=0\n"},
         {"a=1", "a=1"}});
    for (const char* file : {DNSF, NetworkF}) unlink(file);
    EXPECT_EQ(SaveDNS(), 0);
    EXPECT_EQ(content(DNSF), "nameserver 9.9.9.9\n");
    EXPECT_EQ(SetIPV4(Enable), 1);
}

TEST_F(Root, FilesOfTheDaemonsThatCannotBeWritten) {
    put_file(PppConfFile, "InitStr=AT'");
    put_file(DialerF, "old");
    EXPECT_EQ(SavePPPOn(), 2);
    EXPECT_EQ(content(DialerF), "old");
    put_folder(TelTmpF);
    EXPECT_EQ(SaveTel(), 2);
    put_folder(OptionF);
    EXPECT_EQ(SaveOptions(), 3);
    put_folder(ChapTmpF);
    EXPECT_EQ(SaveSecret(), 3);
    put_folder(PapTmpF);
    EXPECT_EQ(SaveSecret(), 2);
}

}  // namespace
