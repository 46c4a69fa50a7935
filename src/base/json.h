// JSON (RFC 8259), written.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

// The length of the character at the beginning of a text; 0 when none of UTF-8 is there.
std::size_t utf8_length(std::string_view text);

// A text of JSON as it grows, one value behind the other; commas come by themselves.
class JsonText {
public:
    void begin(char bracket);
    void end(char bracket);
    void name(std::string_view name);
    // A string. What is not UTF-8 becomes U+FFFD, as browsers decode it: one for the octets that
    // could have begun a character, and for each other octet.
    void text(std::string_view text);
    // What is JSON already.
    void plain(std::string_view json);
    void number(unsigned number);
    void member(std::string_view name, std::string_view text_of_it) {
        name_and(name).text(text_of_it);
    }
    // For the value of a member: json.name_and("seen").number(7).
    JsonText& name_and(std::string_view of) {
        name(of);
        return *this;
    }
    [[nodiscard]] const std::string& so_far() const { return json_; }
    std::string take() { return std::move(json_); }

private:
    void separate();
    std::string json_;
};

// A text as a string, between its quotes.
std::string json_string(std::string_view text);

// An object whose members are strings, in their order.
struct JsonMember {
    std::string_view name, value;
};
std::string json_object(std::initializer_list<JsonMember> members);
