#include "nat/address_fields.h"

#include <string>

#include "framework/profile.h"
#include "framework/quote.h"

namespace {

constexpr std::size_t kMostCharacters = 3;

bool begins_with_digit(const char* text) { return *text >= '0' && *text <= '9'; }

void extend(AddressText& buffer, const char* octet, const char* separator) {
    if (buffer.empty() || !begins_with_digit(octet)) return;
    buffer.append(octet);
    buffer.append(separator);
}

}  // namespace

std::string_view octet_of(std::string_view address, int number) {
    std::string_view octet;
    for (int i = 0; i < number; ++i) octet = take_word(address, ".\r\n");
    return octet;
}

bool octet_fits(const char* octet) {
    if (!octet) return false;
    const std::string_view text = octet;
    return text.size() <= kMostCharacters && shell_character(text) == '\0';
}

void first_octet(AddressText& buffer, const char* octet) {
    buffer = begins_with_digit(octet) ? octet + std::string(".") : "";
}

void middle_octet(AddressText& buffer, const char* octet) { extend(buffer, octet, "."); }

void last_octet(AddressText& buffer, const char* octet) { extend(buffer, octet, ""); }
