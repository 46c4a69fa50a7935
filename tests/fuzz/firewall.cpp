// The records of the firewall script. The input is a name, then a script. Whatever happens to a
// record, the others stay.
#include "filter/firewall_records.h"
#include "fuzz.h"

static constexpr std::string_view kPieces =
    "#@|#@a\n|\n\n|\n| modprobe m\n|# -p icmp \n| udp input | tcp output |1:22 |:| ipchains";

void check(std::string_view input) {
    const std::string text = with_pieces(input.substr(0, 400), kPieces);
    std::string_view script = text;
    const std::string name(take_line(script));
    std::vector<SapItem> items = parse_firewall(script);
    const SapItem fresh = {
        .name = name, .enabled = true, .in = {kUdp + kTcp, "1", "22"}, .out = {}};
    items.push_back(fresh);
    for (const SapItem& item : items) {
        std::string module;
        const std::string rest = without_record(script, item.name);
        expect(without_record(rest, item.name) == rest && rest.size() <= script.size());
        expect(without_record(with_record_updated(script, item, module), item.name) == rest);
    }
    const SapItem read = parse_firewall(with_record(script, fresh)).back();
    expect(read.name == name && read.enabled && read.in.protocol == 3 && read.out.protocol == 0);
    expect(read.in.port1 == "1" && read.in.port2 == "22");
    const std::string off = with_records_off(script);
    expect(off.size() == script.size() && with_records_off(off) == off);
    for (std::size_t i = 0; i < off.size(); ++i) expect(off[i] == script[i] || off[i] == '#');
}
