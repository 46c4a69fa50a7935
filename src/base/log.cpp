#include "base/log.h"

#include <cstdio>

#ifdef NAT_LOG_SYSLOG
#include <syslog.h>
#endif

void logerr([[maybe_unused]] std::string_view text) {
    while (text.ends_with('\n')) text.remove_suffix(1);
#if defined(NAT_LOG_STDERR)
    std::fputs("nat.cgi: ", stderr);
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fputc('\n', stderr);
#elif defined(NAT_LOG_SYSLOG)
    syslog(LOG_DAEMON | LOG_DEBUG, "nat.cgi: %.*s", static_cast<int>(text.size()), text.data());
#endif
}
