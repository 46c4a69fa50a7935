// The lists of access control against plain sets of ports and hosts.
#include <bitset>
#include <random>

#include "filter/ac_lists.h"
#include "root.h"

namespace {

using Ports = std::bitset<65536>;

// Ports "N" and ranges "N<dash>M", each ended by `end`, in ascending order and each port once.
Ports set_of(const std::string& text, char dash, char end) {
    Ports ports;
    std::istringstream in(text);
    std::size_t next = 0;
    for (std::string item; std::getline(in, item, end);) {
        const std::size_t first = std::stoul(item), at = item.find(dash);
        const std::size_t last = at == item.npos ? first : std::stoul(item.substr(at + 1));
        EXPECT_TRUE(next <= first && first + (at != item.npos) <= last) << text;
        for (next = first; next <= last; ++next) ports.set(next);
    }
    return ports;
}

TEST(AccessControl, BlocksHoldExactlyTheHostsOfARange) {
    const std::string network = "192.168.1.";
    for (int s = 0; s < 256; ++s)
        for (int e = s; e < 256; ++e) {
            const std::string item = network + std::to_string(s) + "-" + std::to_string(e);
            std::istringstream lines(w_ip(item));
            int next = s;
            for (std::string line; std::getline(lines, line);) {
                const std::size_t slash = line.find('/');
                const int bits = slash == line.npos ? 32 : std::stoi(line.substr(slash + 1));
                const std::string host = network + std::to_string(next);
                ASSERT_EQ(line.substr(0, slash), host) << item;
                ASSERT_EQ(next % (1 << (32 - bits)), 0) << item << ": " << line;
                next += 1 << (32 - bits);
            }
            ASSERT_EQ(next, e + 1) << item;
        }
}

TEST(AccessControl, ListsStandForTheirPorts) {
    std::mt19937 random(1);  // NOLINT: the same lists every time
    for (int round = 0; round < 400; ++round) {
        Ports wanted;
        std::string list = "B";
        for (unsigned items = 2 + random() % 12; items > 0; --items) {
            const unsigned first = 1 + random() % (round % 2 ? 40 : 65535);
            const unsigned last = std::min(first + unsigned(random() % 9), 65535U);
            list += "," + std::to_string(first);
            if (last > first) list += "-" + std::to_string(last);
            for (unsigned port = first; port <= last; ++port) wanted.set(port);
        }
        const std::string sorted = p_sort(list, "");
        EXPECT_EQ(set_of(sorted.substr(2), '-', ','), wanted) << list;
        for (std::size_t at = 1; (at = sorted.find(',', at + 1)) != sorted.npos;)
            EXPECT_FALSE(wanted[std::stoul(sorted.substr(at + 1)) - 1]) << list << ": " << sorted;
        EXPECT_EQ(set_of(w_port(sorted), ':', '\n'), ~wanted) << sorted;
        EXPECT_EQ(set_of(w_port(with_mode(sorted, 'A')), ':', '\n'), wanted) << sorted;
    }
}

}  // namespace
