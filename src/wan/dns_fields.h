// The appliance's three DNS servers as the twelve form fields "dns1_ip_1" to "dns3_ip_4", shared by
// the pages that edit them, and as the status pages show them. A server's four fields stand in
// order in a page and in its key table: the first begins an address, the fourth ends it.
#pragma once

#include <string_view>

#include "framework/page.h"

// Octet 1 to 4 of DNS server 1 to 3, for the getters below.
int show_dns_octet(int server, int octet, ValueText& value);

// Adds an octet to DNS server 1 to 3, for the savers below. Refusal: 19.
int store_dns_octet(int server, int octet, std::string_view value, Message& message);

// Message 19 for an octet with a character that has a meaning to the shell, whose scripts addresses
// go to; else 0.
int check_octet(std::string_view octet, Message& message);

// Shows an octet.
template <int Server, int Octet>
int get_dns_ip(ValueText& value, LongText&, int&) {
    return show_dns_octet(Server, Octet, value);
}

// Adds an octet to the address that is being built, in both phases; the fourth stores it in the
// appliance settings, and after server 3 the resolver gets the new list.
template <int Server, int Octet, class Record>
int set_dns_ip(const char* value, int, Message& message, Record&) {
    return store_dns_octet(Server, Octet, value, message);
}

// The first DNS server, as the resolver uses it (the field "dns_name").
int get_dns_name(ValueText& value, LongText& text, int& error);

// The first two DNS servers, one above the other (the field "wan_dns").
int get_wan_dns(ValueText& value, LongText& text, int& error);
