#include "nat/line_beyond.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "appliance/addresses.h"
#include "appliance/hosts.h"
#include "base/dns_query.h"
#include "base/files.h"
#include "base/paths.h"
#include "base/words.h"
#include "nat/line_step.h"

namespace {

constexpr std::size_t kMostServers = 3;  // as many as a resolver asks
constexpr std::uint16_t kWebPort = 80;

// ---- the gateway ----

// Who answers no ping may be there all the same: the kernel has just asked for its hardware
// address.
std::string_view hardware_address_of(std::string_view address, Hosts& hosts) {
    LineReader table(ArpF);
    while (table.is_open() && table.next()) add_arp_line(table.text(), line.interface, hosts);
    const auto found = std::ranges::find(hosts, address_number(address).value_or(0), &Host::number);
    return found == hosts.end() ? "" : found->mac.view();
}

bool is_no_heading(std::string_view text, std::string_view) {
    return !text.starts_with("PING ") && !text.starts_with("---") && !first_word(text).empty();
}

// What ping has counted or, where it could not send, why.
std::string result_of_ping(std::string_view text) {
    std::string result = line_with(text, " received");
    if (result.empty()) result = line_where(text, is_no_heading);
    return result.empty() ? "no answer" : result;
}

// ---- the name servers ----

// The addresses of the resolver's file that it would ask.
std::vector<std::string> name_servers() {
    std::vector<std::string> servers;
    LineReader file(DNSF);
    while (file.is_open() && servers.size() < kMostServers && file.next()) {
        std::string_view rest = file.text();
        if (take_word(rest) != "nameserver") continue;
        const std::string_view address = take_word(rest);
        if (address_number(address)) servers.emplace_back(address);
    }
    return servers;
}

std::string dotted(std::uint32_t number) {
    const auto octet = [number](unsigned place) {
        return std::to_string(number >> (24 - 8 * place) & 0xffU);
    };
    return joined({octet(0), ".", octet(1), ".", octet(2), ".", octet(3)});
}

bool is_answered(const DnsReply& reply) {
    return reply.answer && (reply.answer->rcode == kKnown || reply.answer->rcode == kUnknownName);
}

std::string words_of(const DnsReply& reply) {
    if (reply.error) return reply.error == ETIMEDOUT ? "no answer" : std::strerror(reply.error);
    if (!is_answered(reply)) return joined({"refused, code ", std::to_string(reply.answer->rcode)});
    return reply.answer->address ? dotted(*reply.answer->address) : "no address";
}

// Asks one after the other, each for its share of the time, until one answers; notes what each has
// said.
bool is_one_answering(const std::vector<std::string>& servers, std::string& said) {
    const Deadline end(kProbeLimit);
    auto left = static_cast<int>(servers.size());
    for (const std::string& server : servers) {
        const DnsReply reply =
            ask_name_server(*address_number(server), OutsideHost, end.part(left--));
        said = joined({said, said.empty() ? "" : "; ", server, ": ", words_of(reply)});
        if (!is_answered(reply)) continue;
        line.outside = reply.answer->address;
        return true;
    }
    return false;
}

}  // namespace

void ask_gateway(Step& step) {
    if (!address_number(line.gateway)) {
        step.asked = "nobody";
        return unclear(step, "no address", "The route names no gateway that could be asked.");
    }
    const Answer answer = probe_for(step, Command::probe_host, line.gateway);
    const std::string result = result_of_ping(answer.text);
    if (answer.status == 0) return yes(step, result);
    if (line.is_ppp())
        return unclear(step, result,
                       "Many providers' gateways answer no ping. What follows will tell.");
    Hosts hosts;
    const std::string_view mac = hardware_address_of(line.gateway, hosts);
    if (!mac.empty()) return yes(step, joined({result, "; but ARP tells its address, ", mac}));
    no(step, result,
       "Nobody answers at the gateway's address. Is it right, and is the provider's device "
       "switched on?",
       line.way().settings);
}

void ask_name_servers(Step& step) {
    const std::vector<std::string> servers = name_servers();
    step.asked = joined({"the address of ", OutsideHost, ", over UDP, port 53"});
    if (servers.empty())
        return no(step, joined({"no name server in ", DNSF}),
                  "No name server is set, so no name can be found. Enter the provider's.",
                  line.way().settings);
    std::string said;
    if (is_one_answering(servers, said)) return yes(step, said);
    no(step, said,
       "No name server answers, so no name is found. Are these the provider's? If so, the fault "
       "is beyond the gateway.",
       line.way().settings);
}

void ask_outside(Step& step) {
    if (!line.outside) {
        step.asked = OutsideHost;
        return no(step, "has no address",
                  "The name server answers, but does not know the names of the internet. Enter "
                  "another one.",
                  line.way().settings);
    }
    step.asked = joined({OutsideHost, ", ", dotted(*line.outside), ", over TCP, port 80"});
    const int error = connect_to(*line.outside, kWebPort, Deadline(kProbeLimit));
    if (error == 0) return yes(step, "accepts the connection");
    if (error == ECONNREFUSED) return yes(step, "answers that nobody listens there");
    no(step, error == ETIMEDOUT ? "no answer" : std::strerror(error),
       "Names are found, but the internet does not answer: the fault is the provider's, or a "
       "firewall's.",
       line.way().status);
}
