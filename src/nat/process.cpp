#include "nat/process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <string>

#include "appliance/commands.h"
#include "appliance/ppp_conf.h"
#include "base/format.h"
#include "base/io.h"
#include "base/log.h"
#include "base/paths.h"
#include "base/replacement.h"
#include "base/words.h"
#include "framework/entries.h"
#include "framework/settings.h"

namespace {

constexpr std::size_t kPidLine = 79;
constexpr int kCannotSignal = -36;
constexpr int kCannotKill = 1 << 8;  // the status of a kill command that failed

// The kernel's switch for forwarding, and its values.
constexpr char Key[] = "net.ipv4.ip_forward";
constexpr char Enable[] = "1";
constexpr char Disable[] = "0";

// What brings the appliance's own network services in line with its settings, in this order.
constexpr Acting kNetworkPrograms[] = {Command::set_tcp_ip, Command::set_netatalk,
                                       Command::set_dhcp_server};

void log_errno(std::string_view format) { log_line(format, std::strerror(errno)); }

// A pid file of another user is believed about that user's own processes.
bool may_name(uid_t owner, int pid) {
    struct stat process {};
    return owner == geteuid() ||
           (stat(format_text("/proc/%d", pid).c_str(), &process) == 0 && owner == process.st_uid);
}

// The beginning of a file; empty when it cannot be read, which is nothing to tell anybody.
std::string beginning_of(const Descriptor& file, std::size_t size) {
    std::string text(size, '\0');
    text.resize(
        static_cast<std::size_t>(std::max(read_some(file.get(), text.data(), size), ssize_t{0})));
    return text;
}

// Told by the name of the process's executable or of its first argument, as by pidof.
bool is_program(int pid, std::string_view name) {
    const std::string process = format_text("/proc/%d/", pid);
    std::array<char, PATH_MAX> executable{};  // stays NUL-terminated, and empty when it is not told
    if (readlink((process + "exe").c_str(), executable.data(), executable.size() - 1) < 0)
        log_line("%sexe cannot be read", process);
    const Descriptor file = open_regular(process + "cmdline", O_RDONLY);
    const std::string arguments = beginning_of(file, PATH_MAX);  // each with its NUL
    const std::string first = arguments.substr(0, arguments.find('\0'));
    return name_of(executable.data()) == name || name_of(first) == name;
}

// True for a line "net.ipv4.ip_forward =", with or without blanks before the "=".
bool is_forwarding_line(std::string_view line) {
    if (!line.starts_with(Key)) return false;
    line.remove_prefix(sizeof Key - 1);
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    return line.starts_with('=');
}

}  // namespace

int Delay1() {
    wait_seconds(2);
    return 0;
}

int GetPid(const char* name, PidText& pid) {
    // 0 also when it cannot be told: on that alone no second daemon is started.
    const std::optional<std::string> pids = ask_command(Command::pids_by_name, name);
    if (!pids) return 0;
    std::string_view rest = *pids;
    const std::string_view first = take_word(rest, " \r\n");
    if (first.empty()) return 1;
    pid = first;
    return 0;
}

int ReadPidFile(const char* path) {
    if (!path || std::string_view(path) == "none") return kCannotOpen;
    const Descriptor file = open_regular(path, O_RDONLY | O_NOFOLLOW);
    struct stat status {};
    if (fstat(file.get(), &status) != 0) return -1;  // of no file either
    const int pid = to_int(beginning_of(file, kPidLine));
    return may_name(status.st_uid, pid) ? pid : -1;
}

int SquidPid() {
    Text<kSettingLine + 1> path;
    GetPrivateProfileString(SquidConfF, "pid_filename", SquidPidF, path.buffer());
    const int pid = ReadPidFile(path.c_str());
    return pid < 2 || is_program(pid, "squid") ? pid : 0;
}

int StartSquid() {
    PidText pid;
    if (GetPid("squid", pid) == 0) return 0;
    // The proxy reads the resolver file as a user of its own; executing it does nobody any good.
    told(set_mode(DNSF, 0755));
    run_command(Command::start_squid);
    log_line("StartSquid");
    return 0;
}

int KillSquid() {
    const int pid = SquidPid();
    if (pid < 2) return 0;
    return send_signal(pid, SIGTERM) ? 0 : -1;
}

int StopDiald() {
    PidText pid;
    if (GetPid("diald", pid) != 0) return 0;
    const int number = to_int(pid);  // 0 of one that could not be found out
    if (number < 2 || !send_signal(number, SIGTERM)) {
        log_errno("StopDiald Kill diald Error: %s");
        return kCannotKill;
    }
    run_command(Command::sl0_down);
    return 0;
}

int StartDiald() {
    if (Nat_Method() != kSerial) return 0;
    int status = SetIPV4(Enable);
    if (status != 0) {
        log_errno("SetIPV4 Error: %s");
        return status;
    }
    status = run_command(Command::dial_start);
    if (status != 0) log_errno("StartDiald Error: %s");
    return status;
}

// The file alone: the network programs tell the kernel.
int SetIPV4(const char* value) {
    const Written written = rewrite_lines(NetworkF, NetTmpF, Replacement::kKeepMode,
                                          [&](std::string_view line, Replacement& out) {
                                              if (is_forwarding_line(line))
                                                  out.write_line(format_text("%s=%s", Key, value));
                                              else
                                                  out.write(line);
                                          });
    return code_of(written, kForwardingCodes);
}

int RestartNet() {
    (void)SetIPV4(PortEnabled() ? Enable : Disable);  // the page tells of a failure
    for (const Acting program : kNetworkPrograms) run_command(program);
    sync_disks();
    return 0;
}

int ProcReconfigFilter() {
    const int pid = SquidPid();
    return pid < 2 || !send_signal(pid, SIGHUP) ? kCannotSignal : 0;
}
