// The sites of a file to import: each is a word of the text and stands behind "http://", and they
// come in the text's order. The octet 0x80 stands for the head of an address.
#include <cstdlib>

#include "filter/site_list.h"
#include "framework/text.h"

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    constexpr std::string_view kHead = "http://";
    std::string text;
    for (const char c : std::string_view(data, size)) text += c == '\x80' ? kHead : std::string{c};
    const char* at = text.data();
    for (const std::string_view site : sites_in(text)) {
        if (site.empty() || site.find_first_of(" \r\n/?\xff") != site.npos) std::abort();
        if (site.data() < at + kHead.size()) std::abort();
        if (StrCmpi({site.data() - kHead.size(), kHead.size()}, kHead) != 0) std::abort();
        at = site.data() + site.size();
    }
    return at <= text.data() + text.size() ? 0 : (std::abort(), 0);
}
