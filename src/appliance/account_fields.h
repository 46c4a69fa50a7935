// What the pages of the two accounts, PPPoE's and the modem's, check alike before they store it.
#pragma once

#include <string_view>

#include "base/text.h"
#include "framework/page.h"

// Message 62, with the field's label and the character, for a text that holds one of the
// `unstorable` characters; else 0.
int check_characters(std::string_view text, std::string_view unstorable, std::string_view label,
                     Message& message);

// Message 62 for a password that begins with "@": pppd takes it for the name of a file; else 0.
int check_password(std::string_view password, Message& message);

// The rows of a password's field and of its confirmation show nothing. A row of its own says
// "unchanged" where a password is stored, so that the empty field can tell what it means.
inline int show_no_secret(ValueText&, LongText&, int&) { return 0; }
inline int show_kept(ValueText& value, std::string_view password) {
    return show(value, password.empty() ? "" : "unchanged");
}

// Message 69 for an idle time that is not read, as to_int does, as 0 to 9999 minutes; else 0.
int check_idle_time(std::string_view minutes, Message& message);
