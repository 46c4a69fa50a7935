// The filter log's records by number, and their number, which no page needs.
#include "filter/flt_log.h"
#include "root.h"

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

}  // namespace
