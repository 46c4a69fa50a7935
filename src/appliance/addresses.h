// A dotted address that a form posts as four fields. The fields arrive one after another; each adds
// its octet to a working space in the record, and the last one completes the address.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/text.h"

using AddressText = Text<16>;  // a dotted quad
using OctetText = Text<4>;     // as typed: up to three characters
using Octets = std::array<OctetText, 4>;

// A dotted quad as a number of 32 bits, the first octet the highest; nothing for any other text.
std::optional<std::uint32_t> address_number(std::string_view address);

// Splits the first line of a text, a dotted address, into octets, each cut to three characters.
// What is missing is empty.
void extract_ip(std::string_view text, OctetText& a, OctetText& b, OctetText& c, OctetText& d);

// The octets joined by ".", as they stand.
std::string join_octets(const Octets& octets);

// Message 19 for an octet with a character that has a meaning to the shell, whose scripts addresses
// go to; else 0.
int check_octet(std::string_view octet, Message& message);

// Octet 1 to 4 of an address; empty when it has none. Dots in a row count as one.
std::string_view octet_of(std::string_view address, int number);

// True for an octet that may be stored: present, at most three characters, and none of them with a
// meaning to the shell, whose scripts the addresses go to.
bool octet_fits(const char* octet);

// Only octets that begin with a digit are kept, so an address can come out incomplete. The first
// octet starts the address or, without a digit, leaves it empty; the others extend one that is
// begun.
void first_octet(AddressText& buffer, const char* octet);
void middle_octet(AddressText& buffer, const char* octet);
void last_octet(AddressText& buffer, const char* octet);
