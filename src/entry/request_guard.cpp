#include "entry/request_guard.h"

#include <algorithm>
#include <optional>

#include "base/text.h"
#include "framework/cgi-lib.h"
#include "framework/message.h"

namespace {

struct Authority {
    std::string_view host, port;
};

// Takes "host:port" apart; an address of IPv6 stands in brackets. The default port counts as none.
std::optional<Authority> split_authority(std::string_view text, std::string_view default_port) {
    const bool bracketed = text.starts_with('[');
    const std::size_t colon = text.find(':', bracketed ? text.find(']') : 0);
    Authority found = {text.substr(0, colon), {}};
    if (found.host.empty()) return std::nullopt;
    if (bracketed && found.host.find(']') != found.host.size() - 1) return std::nullopt;
    if (colon != std::string_view::npos) found.port = text.substr(colon + 1);
    if (found.port.find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
    if (found.port == default_port) found.port = {};
    return found;
}

// Whether a URL is one of the appliance's own. Over TLS none is that goes without.
bool is_own(std::string_view url) {
    constexpr std::string_view kTls = "https:";
    const bool over_tls = StrCmpi(cgi_variable("HTTPS").value_or(""), "on") == 0;
    if (over_tls && StrniCmp(url, kTls, kTls.size()) != 0) return false;
    return names_host(url, cgi_variable("HTTP_HOST").value_or(""));
}

}  // namespace

bool names_host(std::string_view url, std::string_view host) {
    struct Scheme {
        std::string_view prefix, port;
    };
    for (const auto& [prefix, port] : {Scheme{"http://", "80"}, Scheme{"https://", "443"}}) {
        if (StrniCmp(url, prefix, prefix.size()) != 0) continue;
        url.remove_prefix(prefix.size());
        const auto named = split_authority(url.substr(0, url.find('/')), port);
        const auto own = split_authority(host, port);
        return named && own && StrCmpi(named->host, own->host) == 0 && named->port == own->port;
    }
    return false;
}

bool comes_from_own_page() {
    const auto origin = cgi_variable("HTTP_ORIGIN");
    const auto site = cgi_variable("HTTP_SEC_FETCH_SITE");
    if (origin && !is_own(*origin)) return false;
    if (site && *site != "same-origin" && *site != "none") return false;
    if (origin || site) return true;
    const std::string_view referer = cgi_variable("HTTP_REFERER").value_or("");
    if (!referer.empty()) return is_own(referer);
    // Browsers name no origin for links, nor do they over plain HTTP say from which site one is.
    return cgi_variable("REQUEST_METHOD") != "GET" ||
           !cgi_variable("HTTP_USER_AGENT").value_or("").starts_with("Mozilla/");
}

bool is_foreign_post() {
    return cgi_variable("REQUEST_METHOD") == "POST" && !comes_from_own_page();
}

int refuse_request() {
    return answer_with_status(
        "403 Forbidden",
        "This request was not sent from one of the appliance's own pages, so nothing was changed.");
}
