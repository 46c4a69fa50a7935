// The hosts of a leases file and of an ARP table. The input is both. How a file is cut into parts
// makes no difference; what is found is a sorted list of addresses.
#include "appliance/hosts.h"
#include "fuzz.h"

static constexpr std::string_view kPieces =
    "lease 10.0.0.|10.0.0.1| { |}|;|\"|\\|\\377| ends never| ends 4 2023/11/09 12:00:0|"
    " binding state active| hardware ethernet 00:11:22:33:44:55| client-hostname \"|# |\n|"
    " 0x1 0x2 00:11:22:33:44:55 * eth1\n";
static constexpr std::int64_t kNow = 1'699'531'205;  // 2023/11/09 12:00:05

static Hosts hosts_of(std::string_view text, std::size_t part) {
    Hosts hosts;
    LeaseReader leases(hosts, kNow);
    for (std::size_t at = 0; at < text.size(); at += part) leases.read(text.substr(at, part));
    while (!text.empty()) add_arp_line(take_word(text, "\n"), "eth1", hosts);
    return hosts;
}

void check(std::string_view input) {
    const std::string text = with_pieces(input, kPieces);
    const Hosts hosts = hosts_of(text, text.size() + 1);
    const Hosts again = hosts_of(text, 1);
    expect(hosts.size() <= kMostHosts);
    expect(std::ranges::adjacent_find(hosts, std::greater_equal(), &Host::number) == hosts.end());
    expect(std::ranges::equal(hosts, again, [](const Host& one, const Host& other) {
        return one.address == other.address && one.name == other.name && one.mac == other.mac;
    }));
    for (const Host& host : hosts) expect(host.mac.empty() || host.mac.view().size() == 17);
}
