// JSON (RFC 8259), read: so much of it as a form is, one flat object of texts.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// The most members that are read; no page has a fifth of them.
inline constexpr std::size_t kMostMembers = 1000;

struct JsonField {
    std::string name, value;
};

// Reads an object whose members are all strings into `fields`, in their order. Returns what is
// wrong with it, in words; empty: nothing is. Numbers, true, false, null, objects, arrays, a name
// that comes twice or holds a NUL, half of a surrogate pair and what is not UTF-8 are all refused.
std::string_view read_flat_object(std::string_view json, std::vector<JsonField>& fields);
