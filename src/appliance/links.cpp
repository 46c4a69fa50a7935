#include "appliance/links.h"

#include <array>
#include <string>

#include "appliance/commands.h"
#include "appliance/network_info.h"
#include "appliance/ppp_conf.h"
#include "base/paths.h"
#include "base/quote.h"
#include "base/words.h"
#include "framework/profile.h"

namespace {

constexpr std::size_t kLine = 255;
constexpr std::string_view kDialdRemote = "10.0.0.2";  // diald's end of its stand-in for the link

// A setting that becomes a word of a command; one that could not stand there counts as missing.
template <std::size_t N>
Text<N> command_word(std::string_view key, std::string_view fallback, const char* file) {
    Text<N> value = setting<N>(file, key, fallback);
    if (value.empty() || !is_harmless(value)) value = fallback;
    return value;
}

// What "pidof" prints for a program, or with "-x" in front for a script.
std::string pids_of(std::string_view program) {
    constexpr std::string_view kScript = "-x ";
    const std::optional<std::string> pids =
        program.starts_with(kScript)
            ? ask_line(Command::pids_of_script, program.substr(kScript.size()), kLine)
            : ask_line(Command::pids, program, kLine);
    return pids.value_or("");
}

// Stricter than PortEnabled, which takes all but "no" for on: the link-up script is rerun at a
// clear "yes" alone.
bool sharing_is_on() { return setting<8>(NatConfF, "nat_enable", "no").view().starts_with('y'); }

}  // namespace

Written SaveAccessMethod(int method, int enable) {
    const std::array settings = std::to_array<Setting>(
        {{"nat_enable", enable ? "yes" : "no"}, {"connect_method", std::to_string(method)}});
    return set_file_strings(settings, NatConfF);
}

InterfaceText wan_interface() { return command_word<8>("nat_interface", "eth0", NatConfF); }

InterfaceText lan_interface() { return command_word<8>("lan_interface", "eth1", QSCfgF); }

Text<2> dynamic_setting() { return command_word<2>("dynamic", "0", QSCfgF); }

Written set_wan_if(int method) {
    const bool is_ppp = method == kPPPoE || method == kSerial;
    return SetFileString("nat_interface", is_ppp ? "ppp0" : "eth0", NatConfF);
}

int IsRunning(const char* program) {
    const std::string pids = pids_of(program);
    // The second character: processes with a pid of one digit are the kernel's and init's, no
    // daemon.
    return pids.size() > 1 && is_digit(pids[1]);
}

bool is_pppd_running() {
    const std::string pids = pids_of("pppd");
    return !pids.empty() && is_digit(pids[0]) && pids[0] != '0';
}

int IsInterface(std::string_view interface) { return sharing_is_on() && has_address(interface); }

bool has_address(std::string_view interface) {
    const std::string line =
        ask_line(Command::interface, interface, kLine, "inet addr").value_or("");
    return !usable_address(line, interface).empty();
}

std::string_view usable_address(std::string_view report, std::string_view interface) {
    const std::string_view address = word_behind("inet addr:", report);
    if (address.empty() || address.front() == '0') return {};
    // The placeholders are only PPP's: on the Ethernet port a provider may well give them out.
    const bool is_ppp = interface.starts_with('p');
    const bool is_placeholder = address == kNotDialled || address == kDialdRemote;
    return is_ppp && is_placeholder ? std::string_view() : address;
}

std::string_view word_behind(std::string_view mark, std::string_view report) {
    const std::size_t place = report.find(mark);
    if (place == report.npos) return {};
    const std::string_view behind = report.substr(place + mark.size());
    return behind.substr(0, behind.find_first_of(" \t\r\n"));
}

void run_ip_up_on(std::string_view interface) {
    if (IsInterface(interface)) run_command(Command::ip_up, interface);
}

void Run_ip_up() {
    if (!sharing_is_on()) return;
    const bool is_ppp = IsRunning("diald") || IsRunning("-x adsl-connect");
    const InterfaceText interface = is_ppp ? InterfaceText("ppp0") : wan_interface();
    run_ip_up_on(interface);
}
