// The secrets files of pppd (pppd(8), "AUTHENTICATION"): a line "#tag" before each account's line.
#pragma once

// Puts a secret for `user` on interface ppp0 into a secrets file through `tmpfile`, both mode 0600:
// in place of the line behind the line "#tag", else at the end. 0, 2 or 3.
[[nodiscard]] int save_secret(const char* file, const char* tmpfile, const char* user,
                              const char* password, const char* tag);
