#include "base/dns_query.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/random.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "base/io.h"
#include "base/receiver.h"
#include "base/words.h"

namespace {

constexpr std::size_t kHead = 12;     // id, flags, four counts
constexpr std::size_t kFixed = 10;    // of a record: type, class, time to live, length
constexpr std::size_t kPacket = 512;  // a packet over UDP has no more octets
constexpr std::size_t kMostOfLabel = 63;
constexpr std::size_t kMostOfName = 253;
constexpr std::uint16_t kPort = 53;

// What the first octet of a label says: below 64 its length, from 192 on that a pointer follows.
constexpr unsigned kPointer = 0xc0;

constexpr unsigned kIsAnswer = 0x80;  // flags, in the first octet: an answer,
constexpr unsigned kOpcode = 0x78;    // its kind,
constexpr unsigned kIsCut = 0x02;     // cut short
constexpr std::string_view kAddressOfInternet("\0\1\0\1", 4);  // type A, class IN

unsigned octet_at(std::string_view packet, std::size_t place) {
    return static_cast<unsigned char>(packet[place]);
}
unsigned pair_at(std::string_view packet, std::size_t place) {
    return octet_at(packet, place) << 8U | octet_at(packet, place + 1);
}

// The place behind a name; nothing when it runs past the end.
std::optional<std::size_t> behind_name(std::string_view packet, std::size_t place) {
    while (place < packet.size()) {
        const unsigned length = octet_at(packet, place);
        if (length >= kPointer) return place + 2;
        place += 1 + length;
        if (length == 0) return place;
        if (length > kMostOfLabel) return std::nullopt;
    }
    return std::nullopt;
}

// A server may give the letters of a question back in another case.
bool is_same_question(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lower_case(x) == lower_case(y); });
}

bool answers(std::string_view packet, std::string_view query) {
    return packet.size() >= query.size() && packet.starts_with(query.substr(0, 2)) &&
           (octet_at(packet, 2) & (kIsAnswer | kOpcode)) == kIsAnswer && pair_at(packet, 4) == 1 &&
           is_same_question(packet.substr(kHead, query.size() - kHead), query.substr(kHead));
}

// Takes the address of the records behind `place`; false when one runs past the end.
bool take_address(std::string_view packet, std::size_t place, DnsAnswer& answer) {
    for (unsigned left = pair_at(packet, 6); left > 0 && !answer.address; --left) {
        const std::size_t kind = behind_name(packet, place).value_or(packet.size());
        if (packet.size() < kind + kFixed) return false;
        const std::size_t data = kind + kFixed;
        const std::size_t size = pair_at(packet, kind + kFixed - 2);
        if (packet.size() < data + size) return false;
        if (packet.substr(kind, 4) == kAddressOfInternet && size == 4)
            answer.address = pair_at(packet, data) << 16U | pair_at(packet, data + 2);
        place = data + size;
    }
    return true;
}

// ---- the network ----

sockaddr_in place_of(std::uint32_t host, std::uint16_t port) {
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(port);
    place.sin_addr.s_addr = htonl(host);
    return place;
}

// A socket that is connected, or is about to be, and 0 or what connect(2) tells. With UDP that
// alone lets packets of nobody else through.
struct Line {
    Descriptor socket;
    int error;
};

Line begin_to_connect(int type, std::uint32_t host, std::uint16_t port) {
    Line line = {Descriptor(socket(AF_INET, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)), 0};
    const sockaddr_in place = place_of(host, port);
    const auto* address = reinterpret_cast<const sockaddr*>(&place);  // NOLINT
    if (connect(line.socket.get(), address, sizeof place) != 0) line.error = errno;
    return line;
}

}  // namespace

std::string dns_query(std::uint16_t id, std::string_view name) {
    if (name.empty() || name.size() > kMostOfName) return "";
    std::string packet = {static_cast<char>(id >> 8U), static_cast<char>(id)};
    packet += std::string_view("\1\0\0\1\0\0\0\0\0\0", kHead - 2);  // recursion, one question
    for (std::string_view rest = name; !rest.empty();) {
        const std::string_view label = rest.substr(0, rest.find('.'));
        if (label.empty() || label.size() > kMostOfLabel) return "";
        (packet += static_cast<char>(label.size())) += label;
        rest.remove_prefix(std::min(label.size() + 1, rest.size()));
    }
    return (packet += '\0') += kAddressOfInternet;
}

std::optional<DnsAnswer> read_dns_answer(std::string_view packet, std::string_view query) {
    if (query.size() < kHead || !answers(packet, query)) return std::nullopt;
    DnsAnswer answer = {static_cast<int>(octet_at(packet, 3) & 0xfU), std::nullopt};
    const bool is_cut = (octet_at(packet, 2) & kIsCut) != 0;
    if (!is_cut && !take_address(packet, query.size(), answer)) return std::nullopt;
    return answer;
}

DnsReply ask_name_server(std::uint32_t server, std::string_view name, const Deadline& deadline) {
    std::uint16_t id = 0;
    if (getrandom(&id, sizeof id, 0) != sizeof id) return {std::nullopt, errno};
    const std::string query = dns_query(id, name);
    const Line line = begin_to_connect(SOCK_DGRAM, server, kPort);
    if (line.error) return {std::nullopt, line.error};
    if (!write_all(line.socket.get(), query)) return {std::nullopt, errno};
    std::array<char, kPacket> packet;
    while (wait_for(line.socket.get(), POLLIN, deadline)) {
        const ssize_t size = read_some(line.socket.get(), packet.data(), packet.size());
        if (size < 0) return {std::nullopt, errno};
        const std::string_view text(packet.data(), static_cast<std::size_t>(size));
        if (const auto answer = read_dns_answer(text, query)) return {answer, 0};
    }
    return {std::nullopt, ETIMEDOUT};
}

int connect_to(std::uint32_t host, std::uint16_t port, const Deadline& deadline) {
    const Line line = begin_to_connect(SOCK_STREAM, host, port);
    if (line.error != EINPROGRESS) return line.error;
    if (!wait_for(line.socket.get(), POLLOUT, deadline)) return ETIMEDOUT;
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(line.socket.get(), SOL_SOCKET, SO_ERROR, &error, &size) ? errno : error;
}
