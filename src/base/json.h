// JSON (RFC 8259), written.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

// The length of the character at the beginning of a text; 0 when none of UTF-8 is there.
std::size_t utf8_length(std::string_view text);

// The text as a string, between its quotes. What is not UTF-8 becomes U+FFFD, as browsers decode
// it: one for the octets that could have begun a character, and for each other octet.
std::string json_string(std::string_view text);

// An object whose members are strings, in their order.
struct JsonMember {
    std::string_view name, value;
};
std::string json_object(std::initializer_list<JsonMember> members);
