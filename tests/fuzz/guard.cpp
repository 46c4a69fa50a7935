// The comparison of hosts. The input is a URL, a line feed and a Host header. A URL that names the
// host says its name right behind the scheme, and names it with another path too.
#include "base/text.h"
#include "entry/request_guard.h"
#include "fuzz.h"

void check(std::string_view input) {
    const std::string_view url = take_line(input);
    const std::string_view host = input;
    if (!names_host(url, host)) return;
    const std::string origin(url.substr(0, url.find('/', url.find("//") + 2)));
    const std::string_view name = host.substr(0, host.rfind(':'));
    expect(!name.empty());
    expect(StrniCmp(origin.substr(origin.find("//") + 2), name, name.size()) == 0);
    expect(names_host(origin, host) && names_host(origin + "/x?" + origin, host));
    expect(!names_host(origin + ".evil", host));
}
