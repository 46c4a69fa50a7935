// The lists of access control: whatever the settings hold, a sorted list is in order, every item of
// it can be deleted, and nothing reaches the script but words that are no shell's business.
#include "base/quote.h"
#include "filter/ac_lists.h"
#include "fuzz.h"

static void expect_words(std::string lines) {
    for (char& c : lines)
        if (c == '\n') c = ',';
    expect(shell_character(lines) == '\0' && (lines.empty() || lines.back() == ','));
}

void check(std::string_view input) {
    std::string list(input);
    std::erase_if(list, [](char c) { return c >= 0 && c < ' '; });
    expect_words(w_port("A," + list) + w_port("B," + list) + w_port(list) + w_ip(list));
    for (const std::string network : {"", "10.0.0."}) {
        const bool is_ports = network.empty();
        const std::string sorted = p_sort(is_ports ? "B," + list : list, network);
        expect(p_sort(sorted, network) == sorted);
        std::string rest = sorted;
        for (const auto item : is_ports ? port_items(sorted) : list_items(sorted)) {
            const std::string name(item);
            const char* const names[] = {name.c_str()};
            rest = is_ports ? without_ports(rest, names) : without_hosts(rest, names);
        }
        expect((is_ports ? port_items(rest) : list_items(rest)).empty());
    }
}
