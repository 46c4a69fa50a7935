// Every range of hosts that access control can have.
#include <sstream>

#include "filter/ac_lists.h"
#include "root.h"

namespace {

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

}  // namespace
