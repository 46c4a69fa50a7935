#include "filter/firewall.h"

#include <optional>
#include <string>

#include "appliance/commands.h"
#include "appliance/links.h"
#include "base/files.h"
#include "base/format.h"
#include "base/paths.h"
#include "base/quote.h"
#include "base/replacement.h"
#include "base/words.h"
#include "filter/firewall_records.h"
#include "filter/script_lines.h"

namespace {

constexpr mode_t kScriptMode = 0755;
constexpr std::size_t kModuleLine = 127;

// ifconfig complains about a missing interface as "eth0:", so the fifth character tells.
bool IsRunEth0() {
    const std::string line = ask_line(Command::interface_eth0, {}, 15).value_or("");
    return line.size() > 4 && line[4] != ':';
}

bool is_link_up() { return is_pppd_running() || IsRunEth0(); }

// Writes the firewall script without its application rules.
Written gen_disfw() {
    const std::optional<std::string> script = read_file(FirewallF);
    if (!script) return Written::missing;
    return replace_file(DisFirewallF, with_records_off(*script), kScriptMode);
}

// A script that ip-up runs without a mark, put there by hand, is on already and stays as it is.
Written set_sap_en(bool on) {
    bool has_dis_firewall = false;
    const Written written = rewrite_lines(
        IPUPF, FirewallTmpF, kScriptMode, IfMissing::fail,
        [&](std::string_view line, Replacement& out) {
            if (line.find("/rc.firewall") != line.npos) return out.write(switched(on, line));
            if (line.find("/dis_rc.firewall") == line.npos) return out.write(line);
            has_dis_firewall = true;
            out.write(switched(!on, line));
        },
        [&](Replacement& out) {
            if (has_dis_firewall) return;
            out.end_line();
            out.write_line(mark_of(!on) + format_text("%s $1", DisFirewallF));
        });
    if (written == Written::done) act_change();
    return written;
}

// Marks a module as in use elsewhere when unloading left it loaded with users.
void report_busy_module(const std::string& module) {
    const std::string line = ask_line(Command::modules, {}, kModuleLine, module).value_or("");
    // A module begins with a letter or digit; anything else in front is a complaint.
    if (line.empty() || line[0] < '0' || line[0] > 'z') return;
    std::string_view rest = line;
    take_word(rest);
    take_word(rest);
    if (to_int(take_word(rest)) > 0) run_command(Command::mark_module_busy, module);
}

}  // namespace

Written en_sap() { return set_sap_en(true); }

Written dis_sap() {
    const Written copied = gen_disfw();
    return copied == Written::done ? set_sap_en(false) : copied;
}

void act_change() {
    if (is_link_up()) Run_ip_up();
}

void act_module(std::string_view line) {
    // Without a link nothing needs the module; the scripts load it when one comes up.
    if (line.empty() || !is_link_up()) return;
    std::string_view rest = line.substr(1);
    take_word(rest);
    const std::string module(take_word(rest));
    if (module.empty() || !is_harmless(module)) return;
    if (line.starts_with(kLineOn)) {
        run_command(Command::load_module, module);
        run_command(Command::mark_module, module);
        return;
    }
    run_command(Command::unload_module, module);
    if (line.starts_with(kLineOff))
        report_busy_module(module);
    else
        run_command(Command::mark_module, module);
}
