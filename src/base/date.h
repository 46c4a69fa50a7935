// Moments as people read them.
#pragma once

#include <string>

// Seconds since 1970 as "2026-11-22 03:14:07 UTC".
std::string date_text(long seconds);
