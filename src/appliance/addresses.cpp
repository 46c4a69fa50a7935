#include "appliance/addresses.h"

#include <algorithm>
#include <string>

#include "base/quote.h"
#include "base/words.h"
#include "framework/msgfile.h"

namespace {

constexpr std::size_t kMostCharacters = 3;
constexpr std::string_view kBetweenOctets = ".\r\n";

void extend(AddressText& buffer, const char* octet, const char* separator) {
    if (buffer.empty() || !is_digit(*octet)) return;
    buffer.append(octet);
    buffer.append(separator);
}

}  // namespace

std::string_view octet_of(std::string_view address, int number) {
    std::string_view octet;
    for (int i = 0; i < number; ++i) octet = take_word(address, kBetweenOctets);
    return octet;
}

bool octet_fits(const char* octet) {
    if (!octet) return false;
    const std::string_view text = octet;
    return text.size() <= kMostCharacters && shell_character(text) == '\0';
}

void first_octet(AddressText& buffer, const char* octet) {
    // What begins with a digit is taken as it was typed; octet_fits has kept out what scripts
    // misread.
    buffer = is_digit(*octet) ? octet + std::string(".") : "";
}

void middle_octet(AddressText& buffer, const char* octet) { extend(buffer, octet, "."); }

void last_octet(AddressText& buffer, const char* octet) { extend(buffer, octet, ""); }

std::optional<std::uint32_t> address_number(std::string_view address) {
    std::uint32_t number = 0;
    for (const bool is_last : {false, false, false, true}) {
        const std::string_view octet =
            address.substr(0, is_last ? address.npos : address.find('.'));
        const bool is_number = octet.size() <= 3 && std::ranges::all_of(octet, is_digit);
        if (octet.empty() || !is_number || to_int(octet) > 255) return std::nullopt;
        number = number * 256 + static_cast<std::uint32_t>(to_int(octet));
        address.remove_prefix(std::min(octet.size() + 1, address.size()));
    }
    return number;
}

void extract_ip(std::string_view text, OctetText& a, OctetText& b, OctetText& c, OctetText& d) {
    text = text.substr(0, text.find('\n'));
    for (OctetText* octet : {&a, &b, &c, &d}) {
        const std::size_t dot = text.find('.');
        *octet = octet == &d ? text : text.substr(0, dot);
        text.remove_prefix(dot == std::string_view::npos ? text.size() : dot + 1);
    }
}

std::string join_octets(const Octets& octets) {
    std::string text(octets[0]);
    for (std::size_t i = 1; i < octets.size(); ++i) text.append(".").append(octets[i].view());
    return text;
}

int check_octet(std::string_view octet, Message& message) {
    return shell_character(octet) ? refuse(Msg::BadAddress, message) : 0;
}
