// What a status page knows of the state of its link, for programs that watch it and for the head of
// every page.
#pragma once

#include <string>
#include <string_view>

// The states. A link that waits comes up with the first traffic.
inline constexpr std::string_view kOff = "off";
inline constexpr std::string_view kNoMethodYet = "no_method";
inline constexpr std::string_view kWaiting = "waiting";
inline constexpr std::string_view kConnecting = "connecting";
inline constexpr std::string_view kConnected = "connected";
inline constexpr std::string_view kFailed = "failed";

inline constexpr std::string_view kNotYet = "Not connected yet.";

// The methods, as the pages call them.
inline constexpr std::string_view kDirectLabel = "Direct connection";
inline constexpr std::string_view kPPPoELabel = "PPPoE";
inline constexpr std::string_view kModemLabel = "Modem";

struct LinkState {
    std::string_view state, method;
    std::string cause;    // in words; empty: all is well
    std::string address;  // empty: none

    LinkState(std::string_view of_method, std::string_view is, std::string_view why,
              std::string_view where = {});
};

// Whether an interface has a real address, not the placeholder of a link that has not dialled.
bool is_real_address(std::string_view address);

// The last line of a log, without the passwords that it may hold; empty without one. Throws
// Unreadable.
std::string end_of_log(const char* path);

// The state of a link that dials and is not up, by the last line of its log: "failed" when that
// tells of a failure; else "connecting" while a program dials, and "waiting" otherwise.
LinkState state_of_dialled(std::string_view method, std::string_view log_end, bool dials);
