// Numbered messages: lines "N-text" of the files "cgi_err" and "listmsg" in the working directory,
// the text being a format (format.h) with up to three arguments.
#pragma once

#include <span>

#include "framework/format.h"
#include "framework/text.h"

inline constexpr char MsgFile[] = "cgi_err";
inline constexpr char ListMsgFile[] = "listmsg";

// Puts message `number` into `out`, cut to its size; the line end of the file stays at its end,
// where HTML does not mind it. "Unknown error" when the file or the line is missing.
void GetErrMsgByIndex(int number, std::span<char> out, const FormatArg& a = {},
                      const FormatArg& b = {}, const FormatArg& c = {});

// The same for a message that the program knows by heart: `fallback` when the file or the line is
// missing.
void GetErrMsgOr(int number, std::string_view fallback, std::span<char> out);

// The same from "listmsg", without the line end; `out` stays untouched when there is no such text.
void GetListMsgByIndex(int number, std::span<char> out, const FormatArg& a = {},
                       const FormatArg& b = {}, const FormatArg& c = {});

// Puts a message without arguments into `message` and returns its number: how a saver refuses.
int refuse(int number, Message& message);
