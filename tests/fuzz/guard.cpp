// The comparison of hosts agrees with one that spells every address out. The input is a URL, a line
// feed and a Host header.
#include <algorithm>
#include <cctype>
#include <regex>
#include <string>

#include "framework/request_guard.h"

static std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) {
        return static_cast<char>(c < 0x80 ? std::tolower(c) : c);
    });
    return text;
}

// "host:port" with the port always there; nothing when the text is none of that.
static std::string spelled_out(const std::string& authority, const std::string& default_port) {
    static const std::regex kForm(R"((\[[^\]]*\]|[^:\[][^:]*)(:([0-9]*))?)");
    std::smatch part;
    if (!std::regex_match(authority, part, kForm)) return "";
    return lower(part[1]) + ":" + (part[3].length() ? part[3].str() : default_port);
}

static bool expected(const std::string& url, const std::string& host) {
    static const std::regex kUrl(R"((http|https)://([^/]*)(/[^]*)?)", std::regex::icase);
    std::smatch part;
    if (!std::regex_match(url, part, kUrl)) return false;
    const std::string port = part[1].length() == 4 ? "80" : "443";
    const std::string own = spelled_out(host, port);
    return !own.empty() && spelled_out(part[2], port) == own;
}

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    const std::string input(data, std::min<std::size_t>(size, 200));
    const std::string url = input.substr(0, input.find('\n'));
    const std::string host = input.substr(std::min(url.size() + 1, input.size()));
    if (names_host(url, host) != expected(url, host)) __builtin_trap();
    return 0;
}
