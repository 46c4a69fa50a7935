// The sites of a file to import: each is a word of the text and stands behind "http://", and they
// come in the text's order. The octet 0x80 stands for the head of an address.
#include "base/text.h"
#include "filter/site_list.h"
#include "fuzz.h"

void check(std::string_view input) {
    constexpr std::string_view kHead = "http://";
    std::string text;
    for (const char c : input) text += c == '\x80' ? kHead : std::string{c};
    const char* at = text.data();
    for (const std::string_view site : sites_in(text)) {
        expect(!site.empty() && site.find_first_of(" \r\n/?\xff") == site.npos);
        expect(site.data() >= at + kHead.size());
        expect(StrCmpi({site.data() - kHead.size(), kHead.size()}, kHead) == 0);
        at = site.data() + site.size();
    }
    expect(at <= text.data() + text.size());
}
