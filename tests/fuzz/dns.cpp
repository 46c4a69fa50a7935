// The answers of name servers. The input is an id, the length of a name with the name, and a
// packet. What counts as an answer echoes the query, and is nobody's who knows neither id nor name.
#include "base/dns_query.h"
#include "fuzz.h"

// Of a packet that looks like an answer, what follows its question is the input's.
static std::string answer_to(std::string_view query, std::string_view rest) {
    constexpr std::size_t kFlags = 2;
    constexpr std::size_t kCounts = 6;
    if (rest.size() < kFlags + kCounts || query.empty()) return std::string(rest);
    std::string packet(query.substr(0, 2));
    packet += rest.substr(0, kFlags);
    packet.append("\0\1", 2) += rest.substr(kFlags, kCounts);
    (packet += query.substr(12)) += rest.substr(kFlags + kCounts);
    return packet;
}

void check(std::string_view input) {
    if (input.size() < 3) return;
    const auto id = static_cast<std::uint16_t>((input[0] & 0xff) << 8 | (input[1] & 0xff));
    const std::string_view name = input.substr(3, static_cast<unsigned char>(input[2]));
    const std::string_view rest = input.substr(3 + name.size());
    const std::string query = dns_query(id, name);
    expect(query.empty() || query.size() == 12 + name.size() + (name.ends_with('.') ? 5 : 6));
    expect(!read_dns_answer(rest, query) ||
           (!query.empty() && rest.starts_with(query.substr(0, 2))));
    const std::string packet = answer_to(query, rest);
    const auto answer = read_dns_answer(packet, query);
    if (!answer) return;
    expect((packet[2] & 0x80) != 0 && packet.size() >= query.size());
    expect(answer->rcode == (packet[3] & 0xf) && (!answer->address || (packet[2] & 2) == 0));
    if (answer->address)
        expect(packet.find(std::string("\0\1\0\1", 4), query.size()) != packet.npos);
    expect(!read_dns_answer(packet, dns_query(static_cast<std::uint16_t>(id + 1), name)));
    expect(!read_dns_answer(packet, dns_query(id, std::string(name) + ".x")));
    expect(!read_dns_answer(packet.substr(0, query.size() - 1), query));
}
