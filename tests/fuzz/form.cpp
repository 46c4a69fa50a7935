// The form decoder: its list is sorted and, written out again, decodes to itself.
#include "framework/cgi-lib.h"
#include "fuzz.h"

static std::string decode_and_write(std::string_view query) {
    FormList list;
    std::string out;
    const FormEntry* before = nullptr;
    const auto write = [&](std::string_view text) {
        for (const unsigned char c : text)
            out += {'%', "0123456789ABCDEF"[c >> 4], "0123456789ABCDEF"[c & 15]};
    };
    TraverseList(parse_data_record(query, list), [&](const FormEntry& entry) {
        expect(!before || Compare(*before, entry) <= 0);
        before = &entry;
        write(*entry.key ? entry.key : std::string_view("\0", 1));  // an empty piece is no entry
        if (entry.value) write((out += '=', entry.value));
        out += '&';
    });
    return out;
}

void check(std::string_view input) {
    const std::string query = decode_and_write(input);
    expect(decode_and_write(query) == query);
}
