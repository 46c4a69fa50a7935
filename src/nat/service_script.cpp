#include "nat/service_script.h"

#include <string>

#include "base/files.h"
#include "base/log.h"
#include "base/paths.h"
#include "filter/firewall.h"
#include "framework/profile.h"

namespace {

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

// Copies lines up to and including one; false when the file ends before it.
bool copy_through(LineReader& in, std::string_view last, Replacement& out) {
    while (in.next()) {
        out.write(in.piece());
        if (in.piece() == last) return true;
    }
    return false;
}

// Copies a section with new marks up to and including its empty line; false when that is missing.
bool mark_section(LineReader& in, char mark, bool act, Replacement& out) {
    while (in.next()) {
        std::string line = in.piece();
        if (line == "\n") {
            out.write(line);
            return true;
        }
        line[0] = mark;
        out.write(line);
        if (act) act_module(line);
        act = false;
    }
    return false;
}

}  // namespace

int SetService(const char* header, char mark, const char* file, bool act) {
    LineReader in(file);
    if (!in.is_open()) return 1;
    Replacement out(file, ini_temporary(), kServiceMode);
    if (!out.is_open()) return 1;
    const std::string header_line = std::string(header) + "\n";
    if (!copy_through(in, header_line, out) || !mark_section(in, mark, act, out)) return 0;
    while (in.next()) out.write(in.piece());
    if (in.failed()) return 1;
    const Replaced replaced = out.install();
    if (replaced == Replaced::not_renamed) log_line("SetService: rename error");
    return replaced == Replaced::not_written;
}

void SaveService(const PPPConf& record) {
    for (const Section& section : kSections)
        SetService(section.header, record.*section.service ? ' ' : '#', ServiceFile,
                   section.has_module);
}
