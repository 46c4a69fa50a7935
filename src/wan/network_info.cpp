#include "wan/network_info.h"

#include "framework/files.h"
#include "framework/shell.h"

std::optional<Profile> network_info(const std::string& command) {
    constexpr char kReport[] = "/tmp/ifcfg";
    const ScratchFile report(kReport);
    if (!report.ready()) return std::nullopt;
    run_command(command);
    return Profile::open(kReport);
}
