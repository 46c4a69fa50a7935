// What is offered to pages that a firmware adds, and no shipped page calls.
#include <array>
#include <cstdlib>

#include "appliance/dns_fields.h"
#include "base/paths.h"
#include "base/text.h"
#include "filter/flt_log.h"
#include "framework/cgi-lib.h"
#include "framework/entries.h"
#include "framework/html-lib.h"
#include "framework/message.h"
#include "framework/msgfile.h"
#include "framework/profile.h"
#include "framework/settings.h"
#include "nat/dial_files.h"
#include "nat/service_script.h"
#include "root.h"
#include "serial/modem_list.h"
#include "wan/wanport.h"

namespace {

TEST_F(Root, FormsAndMarkup) {
    FormList list;
    parse_data_record("a=1&b=1&a=<0>&c&a=0&d=1", list);
    std::vector<const char*> found;
    EXPECT_STREQ(find_key(&list, "1"), "a");
    EXPECT_EQ(find_key_multi(&list, "1", found), 3U);
    ASSERT_EQ(find_val_multi(&list, "a", found), 3U);
    EXPECT_EQ(std::string(found[0]) + found[1] + found[2], "01<0>");
    EXPECT_EQ(list_delete_entry(list, "b", "0"), 0);
    EXPECT_EQ(list_delete_entry(list, "a", "0"), 1);
    EXPECT_EQ(list_delete_key_multi(list, "b"), 1);
    EXPECT_EQ(list_delete_val_multi(list, "1"), 1);
    EXPECT_EQ(unescape_url("%41+%2b%4G%"), "A++\4");
    EXPECT_EQ(num_encoded_data_items("%41%%"), 3U);

    put_file("update.htm", "@message#@key#");
    setenv("REMOTE_GROUP", "staff", 1);
    testing::internal::CaptureStdout();
    for (const auto heading : {h3, h4, h5, h6}) heading("t");
    hidden("n", "v");
    location("/x");
    list_print(&list);
    list_clear(list);
    list_print(&list);
    get_update("told", nullptr);
    cgi_env();
    const std::string shown = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(shown.starts_with(R"(<H3>t</H3>
<H4>t</H4>
<H5>t</H5>
<H6>t</H6>
<INPUT TYPE=hidden NAME="n" VALUE="v">
Location: /x

<DL>
<DT><B>a</B>
<DD><0>
<DT><B>c</B>
<DD>
</DL>
<DL>
</DL>
Content-type: text/html

told<B>SERVER_SOFTWARE</B>: <BR>
)")) << shown;
    EXPECT_NE(shown.find("<B>REMOTE_GROUP</B>: staff<BR>\n<BR>\n<B>HTTP_REFERER"), shown.npos);
    EXPECT_EQ(std::ranges::count(shown, '\n'), 42);
}

TEST_F(Root, WhatIsReadByNumberOrName) {
    Message text = "as before";
    put_file("listmsg", "10-ten\n1-one %s\r\n");
    GetListMsgByIndex(0, text, "x");
    EXPECT_EQ(text, "as before");
    GetListMsgByIndex(1, text, "x");
    EXPECT_EQ(text, "one x");

    std::filesystem::create_directories("/usr/local/squid/logs");
    std::array<LogRecord, 2> records;
    EXPECT_EQ(get_filter_log(1, records), -37);
    put_file("/usr/local/squid/logs/access.log", "a b c\n#x\nd e\ng h i\nj");
    EXPECT_EQ(get_filter_log_count(), 4);
    EXPECT_EQ(get_filter_log(1, records), 2);
    EXPECT_STREQ(records[1].third.c_str(), "i");

    put_file("/etc/x", "# list\na.com\n\nB.com x\n  \r\nc.com d.com");
    std::string sites(16, '|');
    EXPECT_EQ(GetEntries("/etc/x", 0, 1, sites), 1);
    EXPECT_EQ(GetEntries("/etc/x", 2, 9, sites), 2);
    EXPECT_EQ(sites, std::string_view("  \r\0c.com d.com\0", 16));
    sites.resize(15);  // as many as there is room for, each with its NUL
    EXPECT_EQ(GetEntries("/etc/x", 2, 9, sites), 1);

    Text<8> value = "old";
    EXPECT_EQ(get_init_by_modem(value.buffer(), "A"), 1);
    put_file(ModemFile, "[A]\r\n\r\nX=1\r\nInitString=ATZ\r\n[B]\n[C]\nX=1\n[D]");
    for (const auto& [name, result] : {std::pair{"B", 2}, {"C", 2}, {"D", 3}, {"a", 3}})
        EXPECT_EQ(get_init_by_modem(value.buffer(), name), result) << name;
    EXPECT_EQ(value, "old");
    EXPECT_EQ(get_init_by_modem(value.buffer(), "A"), 0);
    EXPECT_EQ(value, "ATZ");

    put_file(QSCfgF, "IPADDR2=1\r\nIPADDR=2=\r\r\nn=-12x");
    const std::optional<Profile> file = Profile::open(QSCfgF);
    int number = 9;
    EXPECT_EQ(GetStrByKey("IP", value.buffer(), &*file), 1);
    EXPECT_EQ(value, "");
    EXPECT_EQ(GetStrByKey("IPADDR", value.buffer(), &*file), 0);
    EXPECT_EQ(value, "2=");
    EXPECT_EQ(GetIntByKey("n", &number, &*file), 0);
    EXPECT_EQ(number, -12);
    EXPECT_EQ(GetIntByKey("no", &number, &*file), 1);
    EXPECT_EQ(number, 0);
}

TEST_F(Root, WhatIsWritten) {
    EXPECT_EQ(WriteProfileString("key", "value"), 0);  // the proxy is not installed
    std::filesystem::create_directories("/usr/local/squid/etc");
    EXPECT_EQ(WriteProfileString("text", "a b"), 1);
    EXPECT_EQ(WritePrivateProfileInt(FilterConfF, "number", -5), 1);
    EXPECT_EQ(WritePrivateProfileOnOff(FilterConfF, "switch", 2), 1);
    EXPECT_EQ(WritePrivateProfileDate(FilterConfF, "date", 6, 1, 22), 1);
    EXPECT_EQ(content(FilterConfF), "text a b\nnumber -5\nswitch on\ndate Saturday 1 22\n");

    put_file(QSCfgF, "[network]\n");
    EXPECT_EQ(SaveDNS_N(2, "1.1.1.1"), Written::done);
    EXPECT_EQ(SaveDNS_N(4, "9.9.9.9"), Written::done);
    EXPECT_EQ(content(QSCfgF), "[network]\ndns_server2=1.1.1.1\ndns_server1=9.9.9.9\n");
    put_file(PppConfFile, "");
    for (const auto& [before, after] :  // the first name server is replaced and the others go
         Pairs{{"search x\nnameserver 1\nnameserver 2\nn", "search x\nnameserver 1.1.1.1\nn"},
               {" nameserver 1", " nameserver 1\nnameserver 1.1.1.1\n"}}) {
        put_file(DNSF, before);
        EXPECT_EQ(SaveDNS(), 0);
        EXPECT_EQ(content(DNSF), after);
    }

    put_file("/etc/x", "#@A\n a\n b\n\n c\n#@B\n d\n");
    EXPECT_EQ(SetService("#@A", '#', "/etc/x", false), 0);
    EXPECT_EQ(SetService("#@B", '#', "/etc/x", false), 0);  // no empty line ends it
    EXPECT_EQ(content("/etc/x"), "#@A\n#a\n#b\n\n c\n#@B\n d\n");
    EXPECT_EQ(mode_of("/etc/x"), 0744U);
    EXPECT_EQ(SetService("#@A", '#', "/etc/none", false), 1);

    PPPConf record = d_conf;
    record.User = "joe";
    EXPECT_EQ(SaveModemConf(record), 0);
    EXPECT_NE(content(DialerF).find("AT&F"), std::string::npos);
    for (const char* file : {PppConfFile, PapF, ChapF, OptionF})
        EXPECT_NE(content(file).find("joe"), std::string::npos) << file;
}

}  // namespace
