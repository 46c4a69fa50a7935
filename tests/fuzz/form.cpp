// The form decoder: its list is sorted and, written out again, decodes to itself.
#include "framework/cgi-lib.h"

static std::string decode_and_write(std::string_view query) {
    FormList list = CreateList<FormEntry>(0, Compare);
    std::string out;
    const FormEntry* before = nullptr;
    const auto write = [&](std::string_view text) {
        for (const unsigned char c : text)
            out += {'%', "0123456789ABCDEF"[c >> 4], "0123456789ABCDEF"[c & 15]};
    };
    TraverseList(parse_data_record(query, list), [&](const FormEntry& entry) {
        if (before && Compare(*before, entry) > 0) __builtin_trap();
        before = &entry;
        write(entry.key.empty() ? std::string(1, '\0') : entry.key);  // an empty piece is no entry
        if (entry.value) write((out += '=', *entry.value));
        out += '&';
    });
    return out;
}

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    const std::string query = decode_and_write({data, size});
    if (decode_and_write(query) != query) __builtin_trap();
    return 0;
}
