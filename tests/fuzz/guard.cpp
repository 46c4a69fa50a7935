// The comparison of hosts. The input is a URL, a line feed and a Host header. A URL that names the
// host says its name right behind the scheme, and names it with another path too.
#include <cstdlib>
#include <string>

#include "framework/request_guard.h"
#include "framework/text.h"

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    const std::string_view input(data, size);
    const std::string_view url = input.substr(0, input.find('\n'));
    const std::string_view host = input.substr(std::min(url.size() + 1, size));
    if (!names_host(url, host)) return 0;
    const std::size_t slash = url.find('/', url.find("//") + 2);
    const std::string origin(url.substr(0, slash));
    const std::string_view name = host.substr(0, host.rfind(':'));
    if (name.empty() || StrniCmp(origin.substr(origin.find("//") + 2), name, name.size()) != 0)
        std::abort();
    if (!names_host(origin, host) || !names_host(origin + "/x?" + origin, host)) std::abort();
    return names_host(origin + ".evil", host) ? (std::abort(), 0) : 0;
}
