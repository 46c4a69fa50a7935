// One question to a name server (RFC 1035): which address has a name? The C library's own resolver
// needs files and modules that a static program does not have, and would not tell which server said
// what.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/deadline.h"

// ---- the packets ----

// RCODEs that say something of the name, and so are an answer: it is known, or there is none.
inline constexpr int kKnown = 0;
inline constexpr int kUnknownName = 3;

// What a name server says of a name.
struct DnsAnswer {
    int rcode = kKnown;                    // 0 to 15
    std::optional<std::uint32_t> address;  // the first one; none of an answer that is cut short
};

// The query for the addresses of a name; empty for a name that none can have: a label is 1 to 63
// octets, all of it at most 253.
std::string dns_query(std::uint16_t id, std::string_view name);

// What a packet says to a query; nothing when it is no answer to this one: another id or question,
// no answer at all, or records that run past its end. Names in records are passed over, and no
// pointer is followed, so none can lead in a circle.
std::optional<DnsAnswer> read_dns_answer(std::string_view packet, std::string_view query);

// ---- the network ----

// Asks one name server over UDP, at port 53 of that address. Without an answer `error` is what the
// network tells of it (errno), or ETIMEDOUT: none came while there was time and somebody waited for
// it (receiver.h).
struct DnsReply {
    std::optional<DnsAnswer> answer;
    int error = 0;
};
DnsReply ask_name_server(std::uint32_t server, std::string_view name, const Deadline& deadline);

// Whether a host answers at a TCP port: 0 when it accepts a connection, else what connect(2) tells,
// ECONNREFUSED of a host that answers that nobody listens there, ETIMEDOUT when the time is over or
// nobody waits any more.
int connect_to(std::uint32_t host, std::uint16_t port, const Deadline& deadline);
