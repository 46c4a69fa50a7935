// The settings files of the three shapes.
#include "framework/profile.h"

#include "framework/paths.h"
#include "root.h"

namespace {

constexpr char kFile[] = "/etc/settings";

// A key looked up by its beginning, then exactly: each time result and value.
std::string look_up(std::string_view key) {
    const std::optional<Profile> file = Profile::open(kFile);
    Text<300> near, exact = "left";
    const int found = GetProfileString(key, "standard", near, stream_of(file));
    const int missing = GetStrByKey(key, exact, stream_of(file));
    return std::to_string(found) + near.c_str() + "|" + std::to_string(missing) + exact.c_str();
}

TEST_F(Root, KeysAreReadByTheirBeginningOrExactly) {
    const std::string x270(270, 'x');
    put_file(kFile, "[IP]\nIPADDR2=1\r\nnothing\nIPADDR=2\r\r\nlong=" + x270 +
                        "behind=1\nempty=\nn=-12x\nn=3\n=v\nlast=a=b");
    for (const auto& [key, expected] :
         Pairs{{"IPADDR", "11\r|02"},
               {"IP", "11\r|1"},
               {"ipaddr", "0standard|1"},
               {"nothing", "0standard|1"},
               {"long", std::string("1").append(x270).append("|0").append(x270)},
               {"behind", "11|01"},  // the next piece of a long line reads as a line
               {"empty", "1|0"},
               {"last", "1a=b|0a=b"}})
        EXPECT_EQ(look_up(key), expected) << key;
    const std::optional<Profile> file = Profile::open(kFile);
    Text<4> small = "yes";
    EXPECT_EQ(GetProfileString("long", "", small, stream_of(file)), 1);
    EXPECT_EQ(small, "xxx");
    EXPECT_EQ(GetProfileString("n", "default", small, nullptr), 0);
    EXPECT_EQ(small, "def");
    EXPECT_EQ(GetStrByKey("n", small, nullptr), -1);
    EXPECT_EQ(GetProfileInt("no", 5, stream_of(file)), 5);
    EXPECT_EQ(GetProfileLong("last", 5, stream_of(file)), 0);
    EXPECT_EQ(GetProfileInt("empty", 5, stream_of(file)), 0);
    int number = 9;
    EXPECT_EQ(GetIntByKey("n", &number, stream_of(file)), 0);
    EXPECT_EQ(number, -12);
    EXPECT_EQ(GetIntByKey("no", &number, stream_of(file)), 1);
    EXPECT_EQ(number, 0);
    EXPECT_EQ(GetIntByKey("n", nullptr, stream_of(file)), -1);
}

TEST_F(Root, KeysAreSetInTheirSectionOrInEveryLine) {
    const std::string x(300, 'x');
    expect_files(
        [] { return SetProfileString("s", "k", "v", kFile); }, kFile, kFile,
        {{"", "[s]\nk=v\n"},
         {"[t]\nk=1", "[t]\nk=1\n[s]\nk=v\n"},
         {"k=0\n[t]\nk=1\n[s]\na=1\n[u]\nk=2\n", "k=0\n[t]\nk=1\n[s]\na=1\nk=v\n[u]\nk=2\n"},
         {"[s]\na=1\nk=1\nk=2\n[s]\nk=4\n", "[s]\na=1\nk=v\nk=2\n[s]\nk=4\n"},
         {"[s]\r\nkk=1\nk =2\n" + x + "k=0\n", "[s]\r\nkk=1\nk =2\n" + x + "k=0\nk=v\n"},
         {"[s]", "[s]\nk=v\n"},
         {"[s]\na=1", "[s]\na=1\nk=v\n"},
         {"[S]\n [s]\n[s] \n[ss]\n", "[S]\n [s]\n[s] \n[ss]\n[s]\nk=v\n"}});
    EXPECT_EQ(SetProfileString("s", "k", "v", "/etc/missing"), 1);
    EXPECT_TRUE(std::filesystem::is_empty("/www"));
    expect_files([] { return SetFileString("k", "%s", kFile) ? 0 : 1; }, kFile, kFile,
                 {{"k=1\nkk=2\n" + x.substr(173) + "k=torn\nk=3",
                   "k=%s\nkk=2\n" + x.substr(173) + "k=torn\nk=%s\n"},
                  {"#k=1\n k=1", "#k=1\n k=1\nk=%s\n"}});
    expect_files([] { return SetFileString("k", std::nullopt, kFile) ? 0 : 1; }, kFile, kFile,
                 {{"a\nk=1\nk=2\nb\n", "a\nb\n"}, {"a", "a"}});
    EXPECT_FALSE(SetFileString("k", "v", "/etc/missing"));
    EXPECT_EQ(content("/etc/missing") + content("/tmp/setstr.tmp"), "(no file)(no file)");
}

TEST_F(Root, DnsServersAreReadInTheOrderOfTheFile) {
    for (const auto& [file, expected] :
         Pairs{{"[network]\ndns_server1=1.1.1.1\r\ndns_server2=2.2.2.2\ndns_server3=3.3.3.3\n",
                "1.1.1.1|1.1.1.1<BR>2.2.2.2|2.2.2.2"},
               {"dns_server3=3.3.3.3\ndns_server2=123.123.123.1234",
                "3.3.3.3|3.3.3.3<BR>123.123.123.123|123.123.123.123"},
               {"dns_server4=4\n dns_server1=1\ndns_server1=\ndns_server2=2\n", "|<BR>2|2"},
               {"dns_server=1\n", "||"}}) {
        put_file(QSCfgF, file);
        DnsText first = "left", second;
        Text<64> shown = "left";
        GetDNS(first);
        GetWanDNS(shown);
        GetDNS_N(2, second);
        EXPECT_EQ(std::string(first) + "|" + shown.c_str() + "|" + second.c_str(), expected);
    }
    put_file(QSCfgF, "[network]\ndns_server2=2\n[ACC_CTRL]\n");
    for (const int n : {3, 7, 2}) SaveDNS_N(n, std::to_string(n));
    EXPECT_EQ(content(QSCfgF),
              "[network]\ndns_server2=2\ndns_server3=3\ndns_server1=7\n[ACC_CTRL]\n");
}

TEST_F(Root, SpacedSettings) {
    put_file(kFile, "#k comment\n\nK 1\n\t k \t two words \t\r\nk again\nbare\n# x 1\nkk 3");
    for (const auto& [key, expected] :
         Pairs{{"k", "9two words"}, {"K", "11"}, {"kk", "13"}, {"bare", "0"}, {"x", "0none"}}) {
        Text<32> out;
        const int length = GetPrivateProfileString(kFile, key, "none", out);
        EXPECT_EQ(std::to_string(length) + out.c_str(), expected);
    }
    Text<4> small;
    EXPECT_EQ(GetPrivateProfileString(kFile, "k", "", small), 3);
    EXPECT_EQ(small, "two");
    EXPECT_EQ(GetPrivateProfileString("/etc/missing", "k", "none", small), 0);
    EXPECT_EQ(small, "non");
    EXPECT_EQ(WritePrivateProfileOnOff(kFile, "kk", 2), 1);
    EXPECT_EQ(GetPrivateProfileString(kFile, "kk", "", small), 2);
}

// The result of GetEntries, then the entries, each with its NUL shown as "|".
std::string entries(int first, int maximum, std::size_t room) {
    std::string out(room, '|');
    const std::string count = std::to_string(GetEntries(kFile, first, maximum, out));
    for (char& c : out) c = c ? c : '|';
    return count + out.substr(0, out.find("||"));
}

TEST_F(Root, EntriesByNumber) {
    EXPECT_EQ(entries(0, 9, 9), "-37");
    put_file(kFile, "# list\na.com\n\nB.com x\n  \r\nc.com d.com\n" + std::string(200, 'e'));
    EXPECT_EQ(entries(0, 2, 64), "2a.com|B.com x");
    EXPECT_EQ(entries(1, 9, 9), "1B.com x");
    EXPECT_EQ(entries(1, 9, 7), "0");
    EXPECT_EQ(entries(3, 1, 64), "1c.com d.com");
    EXPECT_EQ(entries(5, 9, 64), "0");
}

}  // namespace
