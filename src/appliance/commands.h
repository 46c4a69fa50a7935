// The programs of the appliance that this one runs, each named once. Those that act change what is
// in force; those that are asked tell of it and change nothing, so a view may ask.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "base/paths.h"
#include "base/run.h"

enum class Command : unsigned char {
    dial_start,
    dial_stop,
    dial_up,
    dial_down,
    adsl_start,
    adsl_stop,
    ifup_eth0,
    ifdown,
    ip_up,
    ip_up_of_eth0,
    ip_down,
    ping_ppp,
    sl0_down,
    set_tcp_ip,
    set_netatalk,
    set_dhcp_server,
    set_dns,
    start_squid,
    clear_virtual_servers,
    load_module,
    unload_module,
    mark_module,
    mark_module_busy,
    pids,
    pids_by_name,
    pids_of_script,
    interface,
    interface_eth0,
    routes,
    modules,
    network_report,
    probe_interface,
    probe_program,
    probe_script,
    probe_routes,
    probe_host,
};

enum class Does : bool { acts, asks };

struct CommandRow {
    Command name;
    Does does;
    CommandLine line;
};

// Seconds that commands have. A modem dials three numbers, and a DHCP server may be slow.
inline constexpr int kAskLimit = 5;
inline constexpr int kProbeLimit = 2;  // a question of the diagnosis
inline constexpr int kStartLimit = 90;
inline constexpr int kDialLimit = 120;

inline constexpr char kSquid[] = "/usr/local/squid/bin/squid";
static_assert(std::string_view(kSquid).starts_with(SquidPath));

inline constexpr std::array kCommands = std::to_array<CommandRow>({
    {Command::dial_start, Does::acts, {DialF, {"start"}, kDialLimit}},
    {Command::dial_stop, Does::acts, {DialF, {"stop"}, kStartLimit}},
    {Command::dial_up, Does::acts, {DialF, {"up"}, kDialLimit}},
    {Command::dial_down, Does::acts, {DialF, {"down"}, kStartLimit}},
    {Command::adsl_start, Does::acts, {"/usr/sbin/adsl-start", {}, kStartLimit}},
    {Command::adsl_stop, Does::acts, {"/usr/sbin/adsl-stop", {}, kStartLimit}},
    {Command::ifup_eth0, Does::acts, {"/sbin/ifup", {"eth0"}, kDialLimit, Errors::dropped}},
    {Command::ifdown, Does::acts, {"/sbin/ifdown", {"%s"}, kStartLimit, Errors::dropped}},
    {Command::ip_up, Does::acts, {IPUPF, {"%s"}, kStartLimit}},
    {Command::ip_up_of_eth0, Does::acts, {IPUPF, {"eth0"}, kStartLimit, Errors::dropped}},
    {Command::ip_down, Does::acts, {IpDownF, {"%s"}, kStartLimit}},
    {Command::ping_ppp, Does::acts, {"ping", {"-c1", "-q", "10.112.112.113"}, kAskLimit}},
    {Command::sl0_down, Does::acts, {"ifconfig", {"sl0", "down"}, kStartLimit}},
    {Command::set_tcp_ip, Does::acts, {SetTcpF, {}, kDialLimit}},
    {Command::set_netatalk, Does::acts, {SetNetTalkF, {}, kStartLimit}},
    {Command::set_dhcp_server, Does::acts, {SetDHCPF, {}, kStartLimit}},
    {Command::set_dns, Does::acts, {SetDNSF, {}, kStartLimit}},
    {Command::start_squid, Does::acts, {kSquid, {}, kStartLimit}},
    {Command::clear_virtual_servers, Does::acts, {"/sbin/ipvsadm", {"-C"}, kStartLimit}},
    {Command::load_module, Does::acts, {"/sbin/modprobe", {"%s"}, kStartLimit, Errors::dropped}},
    {Command::unload_module, Does::acts, {"/sbin/rmmod", {"%s"}, kStartLimit, Errors::dropped}},
    {Command::mark_module, Does::acts, {SetModuleF, {"-m", "%s", "-s"}, kStartLimit}},
    {Command::mark_module_busy, Does::acts, {SetModuleF, {"-m", "%s", "-f"}, kStartLimit}},
    {Command::pids, Does::asks, {"/sbin/pidof", {"%s"}, kAskLimit}},
    {Command::pids_by_name, Does::asks, {"pidof", {"%s"}, kAskLimit}},
    {Command::pids_of_script, Does::asks, {"/sbin/pidof", {"-x", "%s"}, kAskLimit}},
    {Command::interface, Does::asks, {"/sbin/ifconfig", {"%s"}, kAskLimit}},
    {Command::interface_eth0,
     Does::asks,
     {"/sbin/ifconfig", {"eth0"}, kAskLimit, Errors::with_output}},
    {Command::routes, Does::asks, {"route", {"-n"}, kAskLimit}},
    {Command::modules, Does::asks, {"/sbin/lsmod", {}, kAskLimit}},
    {Command::network_report, Does::asks, {NetworkInfoF, {"%s"}, kAskLimit}},
    {Command::probe_interface,
     Does::asks,
     {"/sbin/ifconfig", {"%s"}, kProbeLimit, Errors::with_output}},
    {Command::probe_program, Does::asks, {"/sbin/pidof", {"%s"}, kProbeLimit}},
    {Command::probe_script, Does::asks, {"/sbin/pidof", {"-x", "%s"}, kProbeLimit}},
    {Command::probe_routes, Does::asks, {"route", {"-n"}, kProbeLimit}},
    {Command::probe_host,
     Does::asks,
     {"ping", {"-qc1", "-w2", "%s"}, kProbeLimit, Errors::with_output}},
});

consteval bool rows_are_in_order() {
    for (std::size_t i = 0; i < kCommands.size(); ++i)
        if (static_cast<std::size_t>(kCommands[i].name) != i) return false;
    return true;
}
static_assert(rows_are_in_order());

constexpr const CommandRow& row_of(Command command) {
    return kCommands[static_cast<std::size_t>(command)];
}

// A command of one of the two kinds; the other does not build.
template <Does Kind>
struct CommandThat {
    consteval CommandThat(Command named) : name(named) {  // NOLINT: a name is all there is
        if (row_of(named).does != Kind) throw "a command of the other kind";
    }
    Command name;
};
using Acting = CommandThat<Does::acts>;
using Asking = CommandThat<Does::asks>;

// What acts is kept with the change (journal.h). In a preview (overlay.h) it is noted, not done,
// and taken to succeed.

// Runs a command that acts and waits for its end (run.h): the status as wait(2) gives it.
int run_command(Acting command, std::string_view word = {});

// Starts a command that acts and does not wait.
void start_command(Acting command);

// Sends a process a signal, as the command "kill" does; false when it cannot be sent, in a preview
// also when it could not be.
bool send_signal(pid_t process, int signal);

// Waits so many seconds, for what was started to come up or to end.
void wait_seconds(unsigned seconds);

// Writes to the disks what the system still holds, for the sake of what is run next.
void sync_disks();

// What a command prints that is asked (run.h). Nothing when it could not be asked.
std::optional<std::string> ask_command(Asking command, std::string_view word = {});

// The first line of that, at most `limit` characters of it, without its line feed. With `holding`
// the first line that holds this text; empty when there is none.
std::optional<std::string> ask_line(Asking command, std::string_view word, std::size_t limit,
                                    std::string_view holding = {});

// What comes of a command that is asked by one who judges the answer himself (run.h), and the
// command in words.
std::optional<Answer> probe_command(Asking command, std::string_view word = {});
std::string command_text(Asking command, std::string_view word = {});
