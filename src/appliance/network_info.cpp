#include "appliance/network_info.h"

#include <utility>

#include "appliance/commands.h"

std::optional<Profile> network_info(std::string_view interface) {
    std::optional<std::string> report = ask_command(Command::network_report, interface);
    if (!report) return std::nullopt;
    return Profile(*report);
}
