// The service script, the content filter's settings and dotted addresses.
#include "filter/filterconf.h"
#include "framework/paths.h"
#include "framework/profile.h"
#include "nat/service_script.h"
#include "root.h"
#include "wan/wan_conf.h"

namespace {

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
