#include "nat/vs_script.h"

#include <string>

#include "appliance/commands.h"
#include "appliance/links.h"
#include "appliance/ppp_conf.h"
#include "base/format.h"
#include "base/paths.h"
#include "base/quote.h"
#include "base/replacement.h"
#include "framework/profile.h"

namespace {

constexpr std::string_view kHead =
    "#!/bin/sh\n#\n\nPATH=/sbin:/bin:/usr/sbin:/usr/bin\n\nextif=$1\n"
    "extip=\"`/sbin/ifconfig $extif | grep 'inet addr' | awk '{print $2}' | sed -e 's/.*://'`\"\n"
    "ipvsadm -C\n";

// Publishes a port of a host; `flag` is -t for tcp, -u for udp.
std::string service(const char* flag, long port, std::string_view host) {
    const std::string add = format_text("ipvsadm -A %s $extip:%lu\n", flag, port);
    const std::string server = format_text("ipvsadm -a %s $extip:%lu", flag, port);
    return add + server + format_text(" -R %s:%lu -m\n", shell_word(host), port);
}

std::string opening(const char* protocol, long port) {
    return format_text("ipchains -A input -j ACCEPT -i $1 -p %s -d $extip %lu\n", protocol, port);
}

std::string tcp_server(long port, std::string_view host) {
    return service("-t", port, host) + opening("tcp", port);
}

std::string tcp_and_udp_server(long port, std::string_view host) {
    return service("-t", port, host) + service("-u", port, host) + opening("tcp", port) +
           opening("udp", port);
}

std::string ftp_server(long control, long data, std::string_view host) {
    return service("-t", control, host) + service("-t", data, host) + opening("tcp", control) +
           opening("tcp", data);
}

// ip-up, whose switch "dmz" is set with this, opens the firewall for it.
// Every port that nothing else claims; a client stays with the host.
std::string dmz_host(std::string_view host) {
    std::string text;
    for (const char* flag : {"-t", "-u"})
        text += format_text("ipvsadm -A %s $extip:0 -p\n", flag) +
                format_text("ipvsadm -a %s $extip:0 -R %s -m\n", flag, shell_word(host));
    return text;
}

std::string script(const PPPConf& record) {
    std::string text(kHead);
    if (record.Web) text += tcp_server(record.WebPort, record.WebIP);
    if (record.Pop3) text += tcp_and_udp_server(record.Pop3Port, record.Pop3IP);
    if (record.Smtp) text += tcp_server(record.SmtpPort, record.SmtpIP);
    if (record.Ftp) text += ftp_server(record.FtpCtlPort, record.FtpDataPort, record.FtpIP);
    if (record.Web && record.Https) text += tcp_server(443, record.WebIP);
    for (const UserServer& server : record.UD)
        if (server.VS_UD) text += tcp_and_udp_server(server.Port, server.IP());
    if (record.DMZ) text += dmz_host(record.DMZ_IP);
    return text;
}

void apply(int method) {
    switch (method) {
        case kNoMethod:
            run_command(Command::clear_virtual_servers);
            break;
        case kDirect:
            run_ip_up_on("eth0");
            break;
        case kPPPoE:
            // ppp0 may be the modem's still: the method has changed, the link has not.
            if (IsRunning("-x adsl-connect")) run_ip_up_on("ppp0");
            break;
        default:
            run_ip_up_on("ppp0");
            break;
    }
}

}  // namespace

int SaveAndRunVS() {
    PPPConf record;
    if (ReadPPPConfig(&record) != 0) return 1;
    if (replace_file(VSF, script(record)) != Written::done) return 2;
    told(SetFileString("dmz", record.DMZ ? "\"yes\"" : "\"no\"", IPUPF));
    told(set_mode(IPUPF, 0755));
    sync_disks();
    told(make_executable(VSF));
    apply(record.Method);
    return 0;
}
