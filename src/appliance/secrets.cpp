#include "appliance/secrets.h"

#include <cerrno>
#include <string>

#include "appliance/writer_result.h"
#include "base/files.h"
#include "base/format.h"
#include "base/quote.h"

namespace {

// Copies a secrets file with the secret behind its tag line; true when there was such a line.
bool copy_secrets(LineReader& in, std::string_view tag_line, const std::string& secret,
                  Replacement& out) {
    bool found = false;
    while (in.next()) {
        out.write(in.piece());
        if (!in.piece().starts_with(tag_line)) continue;
        found = true;
        out.end_line();
        out.write_line(secret);
        in.next();  // the old secret
    }
    return found;
}

}  // namespace

int save_secret(const char* file, const char* tmpfile, const char* user, const char* password,
                const char* tag) {
    const std::string tag_line = format_text("#%s", tag);
    const std::string name = pppd_word(user);
    const std::string secret = pppd_word(password);
    LineReader in(file);
    if (!in.is_open() && errno != ENOENT) return kNotWritten;
    Replacement out(file, tmpfile, kSecretMode);
    if (!out.is_open()) return kNotWritten;
    bool found = false;
    if (!in.is_open()) {
        out.write_line("#client\tserver\tsecret\tIP address");
    } else {
        found = copy_secrets(in, tag_line, format_text("%s\t\tppp0\t%s", name, secret), out);
        if (in.failed()) return kNotWritten;
    }
    if (!found) {
        out.end_line();
        out.write_line(tag_line);
        out.write_line(format_text("%s\tppp0\t%s", name, secret));
    }
    return result_of(out.install());
}
