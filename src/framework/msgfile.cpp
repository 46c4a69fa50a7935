#include "framework/msgfile.h"

#include <array>
#include <optional>
#include <string>

#include "base/files.h"

namespace {

// The first line that begins with the number and a hyphen, from behind the hyphen, with its line
// end.
std::optional<std::string> find_message(const char* file, int number) try {
    const std::string prefix = std::to_string(number) + "-";  // so that 1 does not find 10
    LineReader in(file);
    while (in.is_open() && in.next())
        if (in.piece().starts_with(prefix)) return std::string(in.piece().substr(prefix.size()));
    return std::nullopt;
} catch (const Unreadable&) {
    return std::nullopt;
}

}  // namespace

void GetErrMsgByIndex(int number, Message& out, const FormatArg& a, const FormatArg& b,
                      const FormatArg& c) {
    const std::optional<std::string> message = find_message(MsgFile, number);
    out = message ? format_text(*message, a, b, c) : "Unknown error";
}

void GetErrMsgOr(int number, std::string_view fallback, Message& out) {
    const std::optional<std::string> message = find_message(MsgFile, number);
    out = message ? format_text(*message) : fallback;
}

int refuse(int number, Message& message) {
    GetErrMsgByIndex(number, message);
    return number;
}

void tell(const Failure& failure, Message& message) {
    constexpr std::array<int, 4> kNumbers = {Msg::CannotReadFile, Msg::CannotWriteFile,
                                             Msg::CannotRunCommand, Msg::CommandNotEnded};
    GetErrMsgByIndex(kNumbers[failure.what], message, failure.name, long{failure.seconds});
}

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

void GetListMsgByIndex(int number, Message& out, const FormatArg& a, const FormatArg& b,
                       const FormatArg& c) {
    std::optional<std::string> message = find_message(ListMsgFile, number);
    if (!message) return;
    message->erase(message->find_last_not_of("\r\n") + 1);
    out = format_text(*message, a, b, c);
}
