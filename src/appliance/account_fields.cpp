#include "appliance/account_fields.h"

#include "base/words.h"
#include "framework/msgfile.h"

int check_characters(std::string_view text, std::string_view unstorable, std::string_view label,
                     Message& message) {
    const std::size_t at = text.find_first_of(unstorable);
    if (at == std::string_view::npos) return 0;
    GetErrMsgByIndex(Msg::UnstorableCharacter, message, label, text.substr(at, 1));
    return Msg::UnstorableCharacter;
}

int check_password(std::string_view password, Message& message) {
    return check_characters(password.substr(0, 1), "@", "Password", message);
}

int check_idle_time(std::string_view minutes, Message& message) {
    constexpr int kMostMinutes = 9999;
    return is_within(minutes, 0, kMostMinutes) ? 0 : refuse(Msg::BadIdleTime, message);
}
