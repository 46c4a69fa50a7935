// Diagnostics for developers. The texts are part of the program; where they go is a choice of the
// build (NAT_LOG: none, stderr or syslog). Without a log they cost nothing.
#pragma once

#include "base/format.h"

#if defined(NAT_LOG_STDERR) || defined(NAT_LOG_SYSLOG)
inline constexpr bool kLogging = true;
#else
inline constexpr bool kLogging = false;
#endif

// Takes one text, without a line end of its own where a sink adds one, and hands it to the log.
void logerr(std::string_view text);

// Formats a diagnostic line (format_text) and logs it.
inline void log_line(std::string_view format, const FormatArg& a = {}, const FormatArg& b = {},
                     const FormatArg& c = {}) {
    if constexpr (kLogging) logerr(format_text(format, a, b, c));
}

// A text for a log line that may be missing.
inline std::string_view or_null(const char* text) { return text ? text : "(null)"; }
