// The appliance's three DNS servers as the twelve form fields "dns1_ip_1" to "dns3_ip_4", shared by
// the pages that edit them, and as the status pages show them. A server's four fields stand in
// order in a page and in its key table: the first begins an address, the fourth ends it.
#pragma once

#include <array>
#include <string_view>

#include "base/text.h"
#include "base/written.h"
#include "framework/page.h"

// An address of the DNS server list: fifteen characters and the NUL.
using DnsText = Text<16>;

// ---- the DNS server list: keys dns_server1 to dns_server3 of the appliance settings file ----

// The first server line's value, at most 15 characters; empty when there is none.
void GetDNS(DnsText& out);
// The first two servers for display, the second behind "<BR>".
void GetWanDNS(std::span<char> out);
// Server n: 2 and 3, any other n is server 1.
void GetDNS_N(int n, DnsText& out);
// ---- the form fields ----

// Octet 1 to 4 of DNS server 1 to 3, for the getters below.
int show_dns_octet(int server, int octet, ValueText& value);

// Adds the leading digits of an octet to DNS server 1 to 3, for the savers below; 0.
int store_dns_octet(int server, int octet, std::string_view value);

// Shows an octet.
template <int Server, int Octet>
int get_dns_ip(ValueText& value, LongText&, int&) {
    return show_dns_octet(Server, Octet, value);
}

// Adds an octet to the address that is being built; the fourth completes it.
template <int Server, int Octet, class Record>
int set_dns_ip(const char* value, int, Message&, Record&) {
    return store_dns_octet(Server, Octet, value);
}

// The twelve rows of a page's key table.
template <class Record>
constexpr std::array dns_rows = std::to_array<KeyFun<Record>>({
    {"dns1_ip_1", get_dns_ip<1, 1>, set_dns_ip<1, 1>},
    {"dns1_ip_2", get_dns_ip<1, 2>, set_dns_ip<1, 2>},
    {"dns1_ip_3", get_dns_ip<1, 3>, set_dns_ip<1, 3>},
    {"dns1_ip_4", get_dns_ip<1, 4>, set_dns_ip<1, 4>},
    {"dns2_ip_1", get_dns_ip<2, 1>, set_dns_ip<2, 1>},
    {"dns2_ip_2", get_dns_ip<2, 2>, set_dns_ip<2, 2>},
    {"dns2_ip_3", get_dns_ip<2, 3>, set_dns_ip<2, 3>},
    {"dns2_ip_4", get_dns_ip<2, 4>, set_dns_ip<2, 4>},
    {"dns3_ip_1", get_dns_ip<3, 1>, set_dns_ip<3, 1>},
    {"dns3_ip_2", get_dns_ip<3, 2>, set_dns_ip<3, 2>},
    {"dns3_ip_3", get_dns_ip<3, 3>, set_dns_ip<3, 3>},
    {"dns3_ip_4", get_dns_ip<3, 4>, set_dns_ip<3, 4>},
});

// Stores the servers that have been completed, all in one rewrite, and gives the resolver the new
// list when server 3 is one of them. 0, or 1 when they could not be stored.
[[nodiscard]] int store_dns_servers();

// save_fields for a page with the twelve rows. The servers are stored in both phases, as far as the
// walk came: they count whether or not the rest is accepted.
template <class Record, std::size_t N>
int save_fields_and_dns(const std::array<KeyFun<Record>, N>& keys, const FormList* form, int mode,
                        Message& message, Record& record, bool& any) {
    const int refused = save_fields(keys, form, Present::also_empty, mode, message, record, any);
    const int unstored = store_dns_servers();
    return refused ? refused : unstored;
}

// The first DNS server, as the resolver uses it (the field "dns_name").
int get_dns_name(ValueText& value, LongText& text, int& error);

// The first two DNS servers, one above the other (the field "wan_dns").
int get_wan_dns(ValueText& value, LongText& text, int& error);

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

// Stores server n (as GetDNS_N) in section "network" of the appliance settings file.
Written SaveDNS_N(int n, std::string_view value);
