#include "nat/line_near.h"

#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "appliance/addresses.h"
#include "appliance/hosts.h"
#include "appliance/links.h"
#include "base/paths.h"
#include "base/words.h"
#include "framework/profile.h"
#include "nat/line_step.h"

namespace {

constexpr Place kSharing = {"nat_base.htm", "Internet sharing"};
constexpr Place kModem = {"sp_port.htm", "Modem"};

constexpr std::string_view kAddress = "inet addr:";

bool is_set(const char* file, std::string_view key) { return !setting<80>(file, key, "").empty(); }

void ask_serial_port(Step& step) {
    step.asked = SerialPortF;
    struct stat port {};
    if (stat(SerialPortF, &port) == 0) return yes(step, "is there");
    no(step, std::strerror(errno),
       "The appliance has no serial port: it is switched off, or its driver is missing.", kModem);
}

std::string_view meaning_of_no_address() {
    if (line.is_ppp() && line.link.find(kAddress) != line.link.npos)
        return "The link waits: it dials when somebody in the LAN needs it. Connect; if it goes on "
               "waiting, the log tells why.";
    if (line.is_ppp())
        return "The provider has not answered, or does not accept user name and password. Connect, "
               "then look at the log.";
    if (dynamic_setting() == "1")
        return "The provider's DHCP server has given no address. Is the address really assigned by "
               "DHCP?";
    return "The WAN port has no address. Enter the one that the provider has assigned.";
}

// A row of the table: destination, gateway, netmask, flags, metric, references, use, interface.
struct Route {
    std::array<std::string_view, 8> words;
    explicit Route(std::string_view row) {
        for (std::string_view& word : words) word = take_word(row);
    }
    [[nodiscard]] bool is_default() const { return words[0] == "0.0.0.0" && words[2] == words[0]; }
    [[nodiscard]] std::string_view gateway() const { return words[1]; }
    [[nodiscard]] std::string_view interface() const { return words[7]; }
};

// A row that leads everywhere, over the interface or, when none is named, over any.
bool leads_everywhere(std::string_view row, std::string_view interface) {
    const Route route(row);
    return route.is_default() && (interface.empty() || route.interface() == interface);
}

}  // namespace

void ask_sharing(Step& step) {
    step.asked = joined({"nat_enable in ", NatConfF});
    const Text<8> value = setting<8>(NatConfF, "nat_enable", "no");
    if (PortEnabled()) return yes(step, value);
    no(step, value, "Internet access is switched off. Switch it on.", kSharing);
}

void ask_method(Step& step) {
    step.asked = joined({"the access method in ", PppConfFile});
    const int method = Nat_Method();
    if (method < kDirect || method > kSerial)
        return no(step, "none",
                  "No access method is set up: the appliance does not know how to reach the "
                  "internet. Choose one.",
                  kSharing);
    line.method = static_cast<std::size_t>(method);
    line.interface = line.is_ppp() ? "ppp0" : wan_interface().view();
    if (method == kSerial && !is_set(PppConfFile, "Phone1"))
        return no(step, "modem, without a telephone number",
                  "The modem has no number to dial. Enter that of the provider.",
                  line.way().settings);
    if (method == kPPPoE && !is_set(NatConfF, "pppoe_username"))
        return no(step, "PPPoE, without a user name",
                  "The provider lets nobody in without a name. Enter that of the account.",
                  line.way().settings);
    yes(step, line.way().name);
}

void ask_port(Step& step) {
    if (line.method == kSerial) return ask_serial_port(step);
    const std::string_view port = line.is_ppp() ? "eth0" : std::string_view(line.interface);
    Answer answer = probe_for(step, Command::probe_interface, port);
    const std::string first = first_line(answer.text);
    line.port = std::move(answer.text);
    if (answer.status == 0 && !first.empty()) return yes(step, first);
    no(step, first.empty() ? "no answer" : first,
       "The WAN port is not there. Connect; if that does not help, the port or its driver is at "
       "fault.",
       line.way().status);
}

void ask_daemon(Step& step) {
    const Asking command =
        line.method == kPPPoE ? Asking(Command::probe_script) : Asking(Command::probe_program);
    const std::string pids = first_line(probe_for(step, command, line.way().daemon).text);
    if (!pids.empty() && is_digit(pids.front())) return yes(step, joined({"process ", pids}));
    no(step, "no process",
       "The connection was not started, or what holds it has ended. Connect, then look at the log.",
       line.way().status);
}

void ask_cable(Step& step) {
    step.asked = "the same report of ifconfig, for RUNNING";
    const std::string flags = line_with(line.port, "MTU:");
    if (flags.find("RUNNING") != flags.npos) return yes(step, flags);
    no(step, flags.empty() ? "no flags" : flags,
       "Nothing is heard at the WAN port: the cable is not plugged in at one of its ends, or the "
       "provider's device is switched off. If both are in order, connect.",
       line.way().status);
}

void ask_address(Step& step) {
    if (line.is_ppp()) {
        line.link = probe_for(step, Command::probe_interface, line.interface).text;
    } else {
        step.asked = "the same report of ifconfig, for inet addr";
        line.link = line.port;
    }
    std::string found = line_with(line.link, kAddress);
    if (!usable_address(line.link, line.interface).empty()) return yes(step, found);
    if (found.empty() && line.is_ppp()) found = first_line(line.link);
    no(step, found.empty() ? "none" : found, meaning_of_no_address(),
       line.is_ppp() ? line.way().status : line.way().settings);
}

void ask_routes(Step& step) {
    const std::string table = probe_for(step, Command::probe_routes).text;
    const std::string ours = line_where(table, leads_everywhere, line.interface);
    if (!ours.empty()) {
        line.gateway = Route(ours).gateway();
        if (address_number(line.gateway).value_or(0) == 0)
            line.gateway = word_behind("P-t-P:", line.link);
        return yes(step, ours);
    }
    const std::string any = line_where(table, leads_everywhere);
    const std::string_view answered = any.empty() ? "no row for 0.0.0.0" : std::string_view(any);
    if (line.is_ppp())
        return no(step, answered,
                  "The link is up, but packets for the internet do not go over it. Connect anew.",
                  line.way().status);
    no(step, answered,
       "There is no gateway on the WAN port, so packets for the internet have nowhere to go. Enter "
       "the provider's; with DHCP, ask the provider.",
       line.way().settings);
}
