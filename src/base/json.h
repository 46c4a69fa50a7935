// JSON (RFC 8259), written.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

// The text as a string, between its quotes. Each octet that is not UTF-8 becomes U+FFFD.
std::string json_string(std::string_view text);

// An object whose members are strings, in their order.
struct JsonMember {
    std::string_view name, value;
};
std::string json_object(std::initializer_list<JsonMember> members);
