#include "appliance/link_state.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "appliance/log_mask.h"
#include "appliance/network_info.h"
#include "base/format.h"
#include "base/io.h"
#include "base/words.h"

namespace {

constexpr std::array kFailures =
    std::to_array<std::string_view>({"fail", "error", "no carrier", "no answer", "no dial", "busy",
                                     "timeout", "timed out", "time out", "refused", "denied"});

std::string_view last_line(std::string_view text) {
    text = text.substr(0, text.find_last_not_of(" \r\n") + 1);
    return text.substr(text.rfind('\n') + 1);
}

bool tells_of_failure(std::string_view line) {
    std::string words(line);
    std::ranges::transform(words, words.begin(), [](char c) { return lower_case(c); });
    return std::ranges::any_of(
        kFailures, [&](std::string_view failure) { return words.find(failure) != words.npos; });
}

}  // namespace

bool is_real_address(std::string_view address) {
    return !address.empty() && is_digit(address[0]) && address[0] != '0' && address != kNotDialled;
}

std::string end_of_log(const char* path) {
    constexpr off_t kLongestEnd = 1024;
    off_t size = 0;
    const Descriptor file = open_regular(path, O_RDONLY, size);
    if (!file.is_open()) return "";
    std::array<char, kLongestEnd> end{};
    lseek(file.get(), std::max<off_t>(size - kLongestEnd, 0), SEEK_SET);
    const ssize_t got = read_some(file.get(), end.data(), end.size());
    return masked(last_line({end.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0))}));
}

LinkState::LinkState(std::string_view of_method, std::string_view is, std::string_view why,
                     std::string_view where)
    : state(is), method(of_method), cause(why), address(where) {}

LinkState state_of_dialled(std::string_view method, std::string_view log_end, bool dials) {
    if (tells_of_failure(log_end))
        return {method, kFailed,
                format_text("The last attempt failed. The log ends with: %s", log_end)};
    if (dials) return {method, kConnecting, kNotYet};
    return {method, kWaiting,
            format_text("Waiting for traffic: %s dials when somebody needs it.", method)};
}
