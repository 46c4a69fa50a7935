#include "nat/service_script.h"

#include <optional>
#include <string>

#include "base/files.h"
#include "base/log.h"
#include "base/paths.h"
#include "base/replacement.h"
#include "filter/firewall.h"
#include "filter/script_lines.h"
#include "framework/profile.h"

namespace {

// The web redirection (web_redirect.h), which edits other lines of this script, leaves 0777. Each
// is the mode that its page has always left, and root can run the script in either.
constexpr mode_t kServiceMode = 0744;

struct Section {
    const char* header;
    int PPPConf::*service;
    bool has_module;  // its first line loads a kernel module
};

constexpr Section kSections[] = {
    {"#@FTP", &PPPConf::SrvFTP, true},
    {"#@E-Mail", &PPPConf::SrvEMail, false},
    {"#@Telnet", &PPPConf::SrvTelNet, false},
    {"#@HTTP (WWW)", &PPPConf::SrvWeb, false},
};

// Marks the lines of a section. False, and nothing is changed, when the script has no such section
// or no empty line behind it. `first` gets the section's first line; empty: it has none.
bool mark_section(std::string& script, std::string_view header, char mark, std::string& first) {
    const std::string header_line = std::string(header) + "\n";
    std::string_view rest = script;
    bool found = false;
    while (!found && !rest.empty()) found = take_script_line(rest) == header_line;
    if (!found) return false;
    const std::size_t begin = script.size() - rest.size();
    std::string section;
    while (!rest.empty() && !rest.starts_with('\n'))
        section += marked(mark, take_script_line(rest));
    first = section.substr(0, section.find('\n') + 1);
    // Without its empty line nobody can tell where the section ends, so nothing is switched; the
    // module in its first line is all the same (act_module).
    if (rest.empty()) return false;
    script.replace(begin, section.size(), section);
    return true;
}

// Installs the script and then acts on the kernel module, if a section has one.
Written install_script(const char* file, std::string_view script) {
    Replacement out(file, ini_temporary(), kServiceMode);
    out.write(script);
    const Written written = out.install();
    if (written == Written::not_renamed) log_line("SetService: rename error");
    return written;
}

}  // namespace

int SetService(const char* header, char mark, const char* file, bool act) {
    std::optional<std::string> script = read_file(file);
    if (!script) return 1;
    std::string first;
    const bool found = mark_section(*script, header, mark, first);
    if (found && install_script(file, *script) != Written::done) return 1;
    if (act) act_module(first);
    return 0;
}

Written SaveService(const PPPConf& record) {
    std::optional<std::string> script = read_file(ServiceFile);
    if (!script) return Written::missing;
    std::string module_line;
    bool found = false;
    for (const Section& section : kSections) {
        std::string first;
        const char mark = mark_of(record.*section.service != 0);
        found = mark_section(*script, section.header, mark, first) || found;
        if (section.has_module) module_line = first;
    }
    const Written written = found ? install_script(ServiceFile, *script) : Written::done;
    if (written == Written::done) act_module(module_line);
    return written;
}
