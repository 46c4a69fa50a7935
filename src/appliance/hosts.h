// The hosts of the LAN that the appliance knows: who has leased an address from dhcpd
// (dhcpd.leases(5)) and who has answered lately (the kernel's ARP table). A host chooses its name
// itself, so a name can hold any octet.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "appliance/addresses.h"
#include "base/text.h"

inline constexpr std::size_t kMostHosts = 512;
inline constexpr std::size_t kMostOfName = 255;  // octets; DHCP has no longer names

struct Host {
    std::uint32_t number = 0;              // the address in the order of numbers
    AddressText address;                   // a dotted quad
    Text<kMostOfName + 1> name;            // empty when unknown
    Text<sizeof "00:11:22:aa:bb:cc"> mac;  // empty when unknown
};

// Sorted by address, one host an address, at most kMostHosts.
using Hosts = std::vector<Host>;

// Reads a leases file, in parts of any size. The last lease of an address counts; it makes a host
// when its time has not passed and its state, if there is one, is "active". A time that cannot be
// read has passed.
class LeaseReader {
public:
    // `now`: seconds since 1970, UTC.
    LeaseReader(Hosts& hosts, std::int64_t now) : hosts_(&hosts), now_(now) {}
    void read(std::string_view part);

private:
    static constexpr std::size_t kStatement = 1280;  // a name with all octets escaped, and its key

    void take(char c);
    void end_statement(char c);
    void begin_lease();
    void apply_statement();
    void end_lease();

    Hosts* hosts_;
    std::int64_t now_;
    std::string statement_;  // what of it has been read; what is longer is cut
    std::size_t depth_ = 0;  // of blocks in blocks
    bool in_comment_ = false;
    bool in_string_ = false;
    bool escaped_ = false;
    Host lease_;
    bool is_live_ = false;
};

// Adds the host of a line of the ARP table (proc(5)) that is complete and of that interface.
// Whoever answers at a leased address with another hardware address is not the one who leased it.
void add_arp_line(std::string_view line, std::string_view interface, Hosts& hosts);

// The hosts of "/var/lib/dhcpd.leases" and, on the LAN's interface, of "/proc/net/arp". A missing
// file knows none; one that cannot be read throws Unreadable.
Hosts known_hosts();
