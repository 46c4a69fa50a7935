// The serial status page shows whether the modem connection is up, what it has got, and the logs of
// pppd, and has the link dialled and hung up. What is not known is a blank.
//
// The probes build on each other: the template asks for the modem's link before the PPP link and
// the connect speed, and for the PPP link before its address.
#include "serial/sp_st.h"

#include <cerrno>
#include <cstring>
#include <string>

#include "appliance/commands.h"
#include "appliance/dns_fields.h"
#include "appliance/links.h"
#include "appliance/log_mask.h"
#include "appliance/ppp_conf.h"
#include "base/files.h"
#include "base/log.h"
#include "base/paths.h"
#include "base/replacement.h"
#include "base/words.h"
#include "framework/answer.h"
#include "framework/page_room.h"
#include "nat/process.h"

namespace {

constexpr char kPage[] = "sp_status.htm";
constexpr std::size_t kLogShown = 7999;
constexpr std::size_t kLine = 79;
constexpr std::string_view kUnknown = " ";

// What the probes of this request have found.
bool is_probed = false;
bool ppp_on = false;  // pppd runs
Text<20> ppp_ip;
Text<32> cnt_rate;
std::size_t log_shown = 0;  // characters on the page

std::string_view or_unknown(std::string_view text) { return text.empty() ? kUnknown : text; }

int show_link(ValueText& value, bool up) { return show(value, up ? "Established" : "Off Line"); }

// What follows `beginning` in the first line that has it, with the line feed.
std::string rest_of_line(const char* path, std::string_view beginning, std::string_view fallback) {
    LineReader in(path, kLine);
    while (in.is_open() && in.next())
        if (in.piece().starts_with(beginning))
            return std::string(in.piece().substr(beginning.size()));
    return std::string(fallback);
}

int get_phy_link(ValueText& value, LongText&, int&) {
    ppp_on = is_pppd_running();
    is_probed = true;
    return show_link(value, ppp_on);
}

// The second word of ifconfig's line, from behind its last colon: "inet addr:10.0.0.1".
std::string address_word(std::string_view line) {
    take_word(line);
    const std::string_view word = take_word(line);
    return std::string(word.substr(word.rfind(':') + 1));
}

int get_ppp_link(ValueText& value, LongText&, int&) {
    ppp_ip.clear();
    if (!ppp_on) return show_link(value, false);
    const std::string address =
        address_word(ask_line(Command::interface, "ppp0", kLine, "inet addr").value_or(""));
    // Two digits tell an address from whatever else the tools print; one below 10 counts as none.
    const bool up = address.size() >= 2 && is_digit(address[0]) && is_digit(address[1]);
    if (up) ppp_ip = address + "\n";
    return show_link(value, up);
}

int get_ppp_ip(ValueText& value, LongText&, int&) { return show(value, or_unknown(ppp_ip)); }

int get_serial_speed(ValueText& value, LongText&, int&) {
    return show(value, rest_of_line(DialdF, "speed ", "115200"));
}

int get_phone_speed(ValueText& value, LongText&, int&) {
    if (!ppp_on) return show(value, kUnknown);
    value = rest_of_line(PppdLogF, "CONNECT ", or_unknown(cnt_rate));
    cnt_rate = value.view();
    return 0;
}

constexpr std::array kLogs = {Ppp1LogF, Ppp0LogF, PppdLogF};

int get_log(LongText& text, int&) {
    text.emplace();
    for (const char* path : kLogs) {
        const std::string log = read_file(path, kLogShown - text->size()).value_or("");
        text->append(log, 0, log.find('\0'));
    }
    text->resize(lines_with_room(*text).size());
    log_shown = text->size();
    if (wants_data()) text = masked(*text);
    return 0;
}

int get_log_left_out(ValueText& value, LongText&, int&) {
    std::size_t total = 0;
    for (const char* path : kLogs) total += file_size(path);
    return show(value, left_out(log_shown, total, "characters"));
}

constexpr std::array get_fun_tab = std::to_array<KeyFun<NoRecord>>({
    {"nat_phy_link", get_phy_link, nullptr},
    {"nat_ppp_link", get_ppp_link, nullptr},
    {"nat_ppp_ip", get_ppp_ip, nullptr},
    {"nat_serial_speed", get_serial_speed, nullptr},
    {"nat_log_left_out", get_log_left_out, nullptr},
    {"nat_phone_speed", get_phone_speed, nullptr},
    {"wan_dns", get_wan_dns, nullptr, false, Shape::broken_lines},
});

constexpr std::array get_ary_tab = std::to_array<ArrayFun>({
    {"nat_log_text", get_log},
});

int control_link(Acting command, std::string_view complaint) {
    const int status = run_command(command);
    if (status != 0) log_line(complaint, std::strerror(errno));
    return status;
}

int dial() {
    if (!PortEnabled()) return 0;
    PidText pid;
    // 0: diald runs, or nobody can tell; a second one is not started.
    const int failed = GetPid("diald", pid) == 0 ? 0 : StartDiald();
    if (failed) {
        log_line("In dial(): StartDiald Error: %s", std::strerror(errno));
        return failed;
    }
    return control_link(Command::dial_up, "Dial up Error: %s");
}

// Also after sharing was switched off: the link may be up still.
int hangup() { return control_link(Command::dial_down, "StopDiald Error: %s"); }

int clearlog() {
    for (const char* path : {Ppp1LogF, Ppp0LogF}) told(remove_file(path));
    // pppd keeps this one open and would write on into a removed file.
    return empty_file(PppdLogF) != Written::done;
}

struct Button {
    std::string_view todo;
    int (*press)();  // a failure is for the log; the page shows what came of it
};

constexpr std::array buttons = std::to_array<Button>({
    {"nat_dial", dial},
    {"nat_hangup", hangup},
    {"nat_clearlog", clearlog},
});

}  // namespace

LinkState modem_link_state() {
    ValueText value;
    LongText text;
    int error = 0;
    if (!is_probed) {
        get_phy_link(value, text, error);
        get_ppp_link(value, text, error);
    }
    const std::string_view line = ppp_ip;
    const std::string_view address = line.substr(0, line.find('\n'));
    if (is_real_address(address)) return {kModemLabel, kConnected, "", address};
    std::string log;
    for (const char* path : kLogs)
        if (std::string end = end_of_log(path); !end.empty()) log = std::move(end);
    return state_of_dialled(kModemLabel, log, ppp_on);
}

PageTables sp_status_tables() { return {rows_of(get_fun_tab), get_ary_tab}; }

int get_status(const char* message, const FormList* form) {
    gather([&] {
        for (const Button& button : buttons)
            if (!message && field_is(form, "todo", button.todo)) button.press();
    });
    return render_page(kPage, sp_status_tables(), message, form);
}

int set_status(const FormList* form, ProcHeads*, ProcFlags*, ProcTails*, int mode,
               Message& message) {
    // The buttons wait for the getter: the page tells what came of them.
    if (mode == kCheck || mode == kSet) return 0;
    return get_status(message.empty() ? nullptr : message.c_str(), form);
}
