// What tells whether a file still has the content that it had.
#pragma once

#include <string>

// Sixteen hexadecimal digits (FNV-1a, 64 bits) of the content of a file; "-" when there is none,
// "unreadable" when it cannot be read. Against accidents, not against attempts.
std::string digest_of(const std::string& path);
