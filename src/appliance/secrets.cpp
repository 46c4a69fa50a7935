#include "appliance/secrets.h"

#include <string>
#include <utility>

#include "base/files.h"
#include "base/format.h"
#include "base/quote.h"
#include "base/replacement.h"

int save_secret(const char* file, const char* tmpfile, const char* user, const char* password,
                const char* tag) {
    const std::string tag_line = format_text("#%s", tag);
    const std::string name = pppd_word(user);
    const std::string secret = pppd_word(password);
    if (!exists(file)) {
        Replacement out(file, tmpfile, kSecretMode);
        out.write_line("#client\tserver\tsecret\tIP address");
        out.write_line(tag_line);
        out.write_line(format_text("%s\tppp0\t%s", name, secret));
        return code_of(out.install(), kDialFileCodes);
    }
    bool found = false;
    bool is_old_secret = false;
    const Written written = rewrite_lines(
        file, tmpfile, kSecretMode, IfMissing::fail,
        [&](std::string_view line, Replacement& out) {
            if (std::exchange(is_old_secret, false)) return;
            out.write(line);
            if (!line.starts_with(tag_line)) return;
            found = is_old_secret = true;
            out.end_line();
            out.write_line(format_text("%s\t\tppp0\t%s", name, secret));  // any white space will do
        },
        [&](Replacement& out) {
            if (found) return;
            out.end_line();
            out.write_line(tag_line);
            out.write_line(format_text("%s\tppp0\t%s", name, secret));
        });
    return code_of(written, kDialFileCodes);
}
