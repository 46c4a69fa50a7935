// What the questions along the line share (line_questions.h): what is known of the line so far, and
// how they are asked and answered.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "appliance/commands.h"
#include "appliance/ppp_conf.h"
#include "nat/line_questions.h"

// Of an access method: what the pages call it, and where it is mended.
struct Method {
    std::string_view name;
    Place settings;  // its account, address or name servers
    Place status;    // its buttons and its log
    std::string_view daemon;
};

// What the questions find out for those behind them.
struct Line {
    std::size_t method = kNoMethod;
    std::string interface;  // that the internet is on
    std::string port;       // what ifconfig prints of the WAN port,
    std::string link;       // and of the interface
    std::string gateway;    // its address, or what stands for none
    std::optional<std::uint32_t> outside;

    [[nodiscard]] const Method& way() const;
    [[nodiscard]] bool is_ppp() const { return method != kDirect; }
};
inline Line line;

// ---- asking ----

// Asks a command, and says so.
Answer probe_for(Step& step, Asking command, std::string_view word = {});

// ---- answering ----

void yes(Step& step, std::string_view answered);
void no(Step& step, std::string_view answered, std::string_view meaning, const Place& place);
void unclear(Step& step, std::string_view answered, std::string_view meaning);

// The texts one behind the other.
std::string joined(std::initializer_list<std::string_view> texts);

// A line with single blanks between its words and without control characters.
std::string tidy(std::string_view text);

// The first line for which `counts` holds, tidy; empty without one.
using Counts = bool (*)(std::string_view text, std::string_view mark);
std::string line_where(std::string_view text, Counts counts, std::string_view mark = {});

// The first line with that mark, and the first one that is not blank.
std::string line_with(std::string_view text, std::string_view mark);
std::string first_line(std::string_view text);
