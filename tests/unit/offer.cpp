// What no page needs yet: readers of single records, entries and exact keys, and the resolver's
// file.
#include <array>

#include "base/paths.h"
#include "base/text.h"
#include "filter/flt_log.h"
#include "framework/entries.h"
#include "framework/profile.h"
#include "nat/dial_files.h"
#include "root.h"
#include "serial/modem_list.h"

namespace {

TEST_F(Root, RecordsOfTheFilterLogByNumber) {
    const std::string log = "/usr/local/squid/logs/access.log";
    std::filesystem::create_directories("/usr/local/squid/logs");
    const Pairs cases = {{std::string(kNoFile), "0 -37:,"},
                         {"#a\n\n", "0 0:,"},
                         {"a\n#x\nb c\nd", "3 2:bc,d"},
                         {"a b c\nd e f\ng h i\nj", "4 2:def,ghi"}};
    for (const auto& [text, expected] : cases) {
        put_file(log, text);
        std::array<LogRecord, 2> records;
        const int filled = get_filter_log(1, records);
        std::string found = std::to_string(get_filter_log_count()) + " " + std::to_string(filled);
        for (const LogRecord& record : records)
            found.append(&record == &records[0] ? ":" : ",")
                .append(record.first)
                .append(record.second)
                .append(record.third);
        EXPECT_EQ(found, expected);
    }
}

TEST_F(Root, AnInitStringIsFoundByTheModemsName) {
    Text<8> init = "old";
    EXPECT_EQ(get_init_by_modem(init, "A"), 1);
    put_file(ModemFile,
             "[A]\r\n\r\nX=1\r\nInitString=ATZ\r\n[B]\n[A]\nInitString=2\n[C]\nX=1\n[D]");
    const std::pair<const char*, int> cases[] = {{"B", 2}, {"C", 2}, {"D", 3}, {"a", 3}, {"X", 3}};
    for (const auto& [name, result] : cases)
        EXPECT_EQ(get_init_by_modem(init, name), result) << name;
    EXPECT_EQ(init, "old");
    EXPECT_EQ(get_init_by_modem(init, "A"), 0);
    EXPECT_EQ(init, "ATZ");
}

TEST_F(Root, KeysAreReadExactly) {
    const std::string x270(270, 'x');
    put_file(QSCfgF, "IPADDR2=1\r\nnothing\nIPADDR=2\r\r\nlong=" + x270 + "y\nn=-12x\nlast=a=b");
    const std::optional<Profile> file = Profile::open(QSCfgF);
    for (const auto& [key, expected] : Pairs{{"IPADDR", "02"},
                                             {"IP", "1"},
                                             {"nothing", "1"},
                                             {"long", "0" + x270},
                                             {"last", "0a=b"}}) {
        Text<300> value = "left";
        const int missing = GetStrByKey(key, value, stream_of(file));
        EXPECT_EQ(std::to_string(missing) + value.c_str(), expected);
    }
    int number = 9;
    EXPECT_EQ(GetIntByKey("n", &number, stream_of(file)), 0);
    EXPECT_EQ(number, -12);
    EXPECT_EQ(GetIntByKey("no", &number, stream_of(file)), 1);
    EXPECT_EQ(number, 0);
}

// The result of GetEntries, then the entries, each with its NUL shown as "|".
std::string entries(int first, int maximum, std::size_t room) {
    std::string out(room, '|');
    const std::string count = std::to_string(GetEntries(FilterConfF, first, maximum, out));
    for (char& c : out) c = c ? c : '|';
    return count + out.substr(0, out.find("||"));
}

TEST_F(Root, EntriesByNumber) {
    std::filesystem::create_directories("/usr/local/squid/etc");
    put_file(FilterConfF, "# list\na.com\n\nB.com x\n  \r\nc.com d.com\n" + std::string(200, 'e'));
    EXPECT_EQ(entries(0, 2, 64), "2a.com|B.com x");
    EXPECT_EQ(entries(1, 9, 9), "1B.com x");
    EXPECT_EQ(entries(1, 9, 7), "0");
    EXPECT_EQ(entries(3, 1, 64), "1c.com d.com");
    EXPECT_EQ(entries(5, 9, 64), "0");
}

TEST_F(Root, TheFirstNameServerIsReplacedAndTheOthersGo) {
    put_file(QSCfgF, "dns_server1=9.9.9.9\n");
    put_file(PppConfFile, "");
    for (const auto& [before, after] :
         Pairs{{"search x\nnameserver 1\nnameserver 2\nn", "search x\nnameserver 9.9.9.9\nn"},
               {" nameserver 1", " nameserver 1\nnameserver 9.9.9.9\n"},
               {std::string(kNoFile), "nameserver 9.9.9.9\n"}}) {
        put_file(DNSF, before);
        EXPECT_EQ(SaveDNS(), 0);
        EXPECT_EQ(content(DNSF), after);
    }
}

}  // namespace
