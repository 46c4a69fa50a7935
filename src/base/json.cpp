#include "base/json.h"

#include <array>
#include <cstddef>

namespace {

// What begins a character of more than one octet: its length, and which second octets may follow.
// So no character is longer than it need be, a surrogate or beyond U+10FFFF.
struct Lead {
    unsigned char first, last, least_second, most_second;
    std::size_t length;
};
constexpr std::array kLeads = std::to_array<Lead>({
    {0xc2, 0xdf, 0x80, 0xbf, 2},
    {0xe0, 0xe0, 0xa0, 0xbf, 3},
    {0xe1, 0xec, 0x80, 0xbf, 3},
    {0xed, 0xed, 0x80, 0x9f, 3},
    {0xee, 0xef, 0x80, 0xbf, 3},
    {0xf0, 0xf0, 0x90, 0xbf, 4},
    {0xf1, 0xf3, 0x80, 0xbf, 4},
    {0xf4, 0xf4, 0x80, 0x8f, 4},
});

unsigned char octet(std::string_view text, std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

// What is at the beginning of a text: a character, or octets that could have begun one.
struct First {
    std::size_t length;
    bool is_whole;
};
First first_of(std::string_view text) {
    const unsigned char first = octet(text, 0);
    if (first < 0x80) return {1, true};
    for (const Lead& lead : kLeads) {
        if (first < lead.first || first > lead.last) continue;
        if (octet(text, 1) < lead.least_second || octet(text, 1) > lead.most_second)
            return {1, false};
        for (std::size_t at = 2; at < lead.length; ++at)
            if ((octet(text, at) & 0xc0) != 0x80) return {at, false};
        return {lead.length, true};
    }
    return {1, false};
}

void append_escaped(std::string& json, char c) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    const auto code = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') json += '\\';
    if (code >= 0x20)
        json += c;
    else
        json.append("\\u00") += {kDigits[code >> 4], kDigits[code & 0xf]};
}

void append_string(std::string& json, std::string_view text) {
    constexpr std::string_view kReplacement = "\xef\xbf\xbd";
    json += '"';
    while (!text.empty()) {
        const First first = first_of(text);
        if (first.length == 1 && first.is_whole)
            append_escaped(json, text.front());
        else
            json += first.is_whole ? text.substr(0, first.length) : kReplacement;
        text.remove_prefix(first.length);
    }
    json += '"';
}

}  // namespace

std::size_t utf8_length(std::string_view text) {
    const First first = first_of(text);
    return first.is_whole ? first.length : 0;
}

void JsonText::separate() {
    if (!json_.empty() && std::string_view("{[:").find(json_.back()) == std::string_view::npos)
        json_ += ',';
}

void JsonText::begin(char bracket) {
    separate();
    json_ += bracket;
}

void JsonText::end(char bracket) { json_ += bracket; }

void JsonText::name(std::string_view name) {
    text(name);
    json_ += ':';
}

void JsonText::text(std::string_view text) {
    separate();
    append_string(json_, text);
}

void JsonText::plain(std::string_view json) {
    separate();
    json_ += json;
}

void JsonText::number(unsigned number) { plain(std::to_string(number)); }

std::string json_string(std::string_view text) {
    std::string json;
    append_string(json, text);
    return json;
}

std::string json_object(std::initializer_list<JsonMember> members) {
    JsonText json;
    json.begin('{');
    for (const JsonMember& member : members) json.member(member.name, member.value);
    json.end('}');
    return json.take();
}
