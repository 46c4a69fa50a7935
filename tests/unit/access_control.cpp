// Every range of hosts that access control can have.
#include <sstream>

#include "filter/ac_lists.h"
#include "root.h"

namespace {

TEST(AccessControl, BlocksHoldExactlyTheHostsOfARange) {
    const std::string network = "192.168.1.";
    for (int s = 0; s < 256; ++s)
        for (int e = s; e < 256; ++e) {
            std::istringstream lines(w_ip(network + std::to_string(s) + "-" + std::to_string(e)));
            int next = s;
            for (std::string line; std::getline(lines, line);) {
                const std::size_t slash = line.find('/');
                const int bits = slash == line.npos ? 32 : std::stoi(line.substr(slash + 1));
                ASSERT_EQ(line.substr(0, slash), network + std::to_string(next)) << s << "-" << e;
                ASSERT_EQ(next % (1 << (32 - bits)), 0) << line;
                next += 1 << (32 - bits);
            }
            ASSERT_EQ(next, e + 1) << s;
        }
}

}  // namespace
