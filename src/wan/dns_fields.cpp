#include "wan/dns_fields.h"

#include <algorithm>
#include <array>

#include "framework/msgfile.h"
#include "framework/profile.h"
#include "framework/quote.h"
#include "framework/shell.h"

namespace {

constexpr int kServers = 3;
constexpr int kOctets = 4;

DnsText shown;
std::string_view not_yet_shown;  // the rest of `shown`
std::array<DnsText, kServers> built;

std::string_view leading_digits(std::string_view text) {
    return text.substr(0, text.find_first_not_of("0123456789"));
}

}  // namespace

int show_dns_octet(int server, int octet, ValueText& value) {
    if (octet == 1) {
        GetDNS_N(server, shown);
        not_yet_shown = shown;
    } else {
        const std::size_t dot = std::min(not_yet_shown.find('.'), not_yet_shown.size());
        not_yet_shown.remove_prefix(std::min(dot + 1, not_yet_shown.size()));
    }
    value = leading_digits(not_yet_shown);
    if (octet == kOctets) not_yet_shown = {};
    return 0;
}

int store_dns_octet(int server, int octet, std::string_view value, Message& message) {
    const int refused = check_octet(value, message);
    if (refused) return refused;
    DnsText& address = built[static_cast<std::size_t>(server - 1)];
    if (octet == 1) {
        address = leading_digits(value);
    } else if (!address.empty()) {
        address.append(".");
        address.append(leading_digits(value));
    }
    if (octet < kOctets) return 0;
    SaveDNS_N(server, address);
    address.clear();
    if (server == kServers) run_command("/usr/share/quillstead/network/NET_SetDNS > /dev/null");
    return 0;
}

int check_octet(std::string_view octet, Message& message) {
    return shell_character(octet) ? refuse(Msg::BadAddress, message) : 0;
}

int get_dns_name(ValueText& value, LongText&, int&) {
    DnsText server;
    GetDNS(server);
    value = server.view();
    return 0;
}

int get_wan_dns(ValueText& value, LongText&, int&) {
    GetWanDNS(value);
    return 0;
}
