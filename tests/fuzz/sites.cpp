// The import of sites finds and adds what a plodding one does that reads octet by octet and looks
// through the whole list for every site. The input is a list, a NUL and a file to import; the
// octets 0x80 and 0x81 stand for the head of an address and for a very long word.
#include <unistd.h>

#include "filter/site_list.h"
#include "framework/files.h"
#include "framework/profile.h"

static bool is_listed(const std::string& list, std::string_view site) {
    for (LineReader in(list, kSettingLine); in.next();) {
        std::string_view rest = in.text();
        if (!rest.empty() && rest[0] != '#' && take_word(rest) == site) return true;
    }
    return false;
}

static std::size_t plod(const std::string& list, std::string_view text) {
    constexpr std::string_view kHead = "http://";
    std::size_t added = 0, matched = 0;
    std::string site;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        const char c = i < text.size() ? text[i] : '\xff';
        if (matched < kHead.size()) {
            const char folded = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
            matched = folded == kHead[matched] ? matched + 1 : folded == 'h';
        } else if (std::string_view(" \r\n/?\xff").find(c) == std::string_view::npos) {
            site += c;
        } else {
            std::string content = read_file(list).value_or("");
            if (!site.empty() && !is_listed(list, site)) {
                if (!content.empty() && content.back() != '\n') content += '\n';
                if (!replace_file(list, content + site + "\n")) __builtin_trap();
                ++added;
            }
            site.clear();
            matched = 0;
        }
        if (c == '\xff') break;
    }
    return added;
}

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    std::string input;
    for (const char c : std::string_view(data, std::min<std::size_t>(size, 500)))
        c == '\x80' ? input += "http://" : c == '\x81' ? input.append(8190, 'x') : input += c;
    const std::string_view list = std::string_view(input).substr(0, input.find('\0'));
    const std::string_view text =
        std::string_view(input).substr(std::min(list.size() + 1, input.size()));
    const std::string file = "/tmp/quillstead-sites-" + std::to_string(getpid());
    const std::string upload = file + ".upload";
    const auto expect = [](bool holds) { holds ? void() : __builtin_trap(); };
    expect(replace_file(file, list));
    const std::size_t expected = plod(file, text);
    const std::string after = read_file(file).value();
    expect(replace_file(file, list) && replace_file(upload, text));
    std::size_t added = 0;
    expect(import_site(upload.c_str(), {"of the test", file}, added) == 0 && added == expected);
    expect(read_file(file) == after && access(upload.c_str(), F_OK) != 0);
    return unlink(file.c_str());
}
