#include "nat/dial_files.h"

#include <arpa/inet.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "appliance/secrets.h"
#include "base/files.h"
#include "base/format.h"
#include "base/paths.h"
#include "base/quote.h"
#include "base/replacement.h"
#include "framework/html-lib.h"

namespace {

constexpr char kLocalDefault[] = "10.0.0.1";
constexpr char kRemote[] = "10.0.0.2";
constexpr char SerialTag[] = "Serial";  // marks the account in the secrets files

unsigned idle_seconds(const PPPConf& record) { return static_cast<unsigned>(record.Idle) * 60U; }

// A fixed address that may stand in a configuration file.
bool has_fixed_address(const PPPConf& record) {
    return record.DynamicIP == 0 && !record.IP.empty() && record.IP != "0.0.0.0" &&
           is_harmless(record.IP);
}

bool is_address(const char* text) {
    in_addr address{};
    return inet_aton(text, &address) != 0;
}

std::string diald_conf(const PPPConf& record) {
    // diald needs an address that it understands, and gets a stand-in for any other; pppd gets what
    // was typed and complains in its log.
    const bool is_fixed = has_fixed_address(record);
    const bool is_local = is_fixed && is_address(record.IP.c_str());
    std::string text = "fifo /etc/diald/diald.ctl\nmode ppp\n";
    text +=
        format_text("connect %s\ndevice /dev/ttyS0\nspeed %ld\n", PPPOnF, long{record.BaudRate});
    text += "modem\nlock\ncrtscts\n";
    text +=
        format_text("local %s\nremote %s\n", is_local ? record.IP.view() : kLocalDefault, kRemote);
    if (record.DynamicIP != 0) text += "dynamic\n";
    text += "defaultroute\nredial-timeout 1\nretry-count 0\ndied-retry-count 0\n";
    if (record.DynamicIP == 0)
        text +=
            format_text("pppd-options local %s:\n", is_fixed ? record.IP.view() : kLocalDefault);
    text += format_text("first-packet-timeout %u\ninclude %s\n",
                        static_cast<long>(idle_seconds(record)), FilterF);
    return text;
}

std::string chat_script(const PPPConf& record) {
    std::string text = "ABORT\t'BUSY'\nABORT\t'NO ANSWER'\nABORT\t'RINGING'\n";
    text += format_text("INIT\t'%s\\r'\n", record.InitStr.view());
    switch (record.DialType) {
        case 0:
            text += "OK\t'ATDT\\T'\n";
            break;
        case 1:
            text += "OK\t'ATDP\\T'\n";
            break;
        case 2:
            text += "OK\t'ATD'\n";
            break;
        // No dial line for a way that is none: chat waits for the connection at once.
        default:
            break;
    }
    // The last line has no line end, and chat does not miss it.
    return text + "CONNECT\nSAY \"\\n\"";
}

constexpr int kNoRecord = 1;
constexpr int kNotWritten = 2;
constexpr int kSecondNotWritten = 3;

// Reads the record, builds a file's text from it and puts it in place through its temporary file.
int write_from_record(const char* target, const char* temporary,
                      std::string (*text_of)(const PPPConf&)) {
    PPPConf record;
    if (ReadPPPConfig(&record) != 0) return kNoRecord;
    Replacement out(target, temporary);
    out.write(text_of(record));
    return code_of(out.install(), kDialFileCodes);
}

std::string telephone_file(const PPPConf& record) {
    const std::array<const PhoneText*, 3> all = {&record.Phone1, &record.Phone2, &record.Phone3};
    std::array<std::string_view, 3> packed;
    std::size_t total = 0;
    for (const PhoneText* phone : all)
        if (!phone->empty()) packed[total++] = *phone;
    std::string text = format_text("Total=%d\nNext=1\n", static_cast<long>(total));
    for (std::size_t i = 0; i < packed.size(); ++i)
        // A number that is missing has its line, too: the dial scripts find all three keys.
        text += format_text("Phone%d=%s\n", static_cast<long>(i + 1), packed[i]);
    return text;
}

std::string options_file(const PPPConf& record) {
    std::string text = format_text("idle %u\nname %s\nremotename ppp0\n",
                                   static_cast<long>(idle_seconds(record)), pppd_word(record.User));
    if (record.DynamicIP != 0) text += "noipdefault\n";
    return text;
}

// The filter begins as the one that diald brings along. Where that is missing there is none.
void copy_default_filter() {
    if (const auto text = read_file(DefFilterF)) told(replace_file(FilterF, *text));
}

// Where the field behind the one at `at` begins, or npos.
std::size_t next_field(std::string_view line, std::size_t at) {
    const std::size_t blank = line.find_first_of(" \t", at);
    return blank == std::string_view::npos ? blank : line.find_first_not_of(" \t\r\n", blank);
}

// A rule of diald's: a word, a protocol, the time-out in seconds, and which packets it means.
// A rule with its time-out replaced; a rule without one is dropped.
std::string with_timeout(std::string_view line, unsigned seconds) {
    const std::size_t second = next_field(line, 0);
    const std::size_t third = second == line.npos ? second : next_field(line, second);
    if (third == line.npos) return "";
    const std::size_t rest = std::min(line.find_first_of(" \t\r\n", third), line.size());
    return std::string(line.substr(0, third)) + std::to_string(seconds) +
           std::string(line.substr(rest));
}

}  // namespace

// An appliance without this file has no dial-up at all, which its firmware must put right.
int SaveDiald() {
    if (!exists(DialdF)) cgi_err("", std::strerror(ENOENT));
    return write_from_record(DialdF, DialdTmpF, diald_conf);
}

int SavePPPOn() {
    PPPConf record;
    if (ReadPPPConfig(&record) != 0) return kNoRecord;
    if (record.InitStr.view().find('\'') != std::string_view::npos) return kNotWritten;
    return write_from_record(DialerF, DialerTmpF, chat_script);
}

int SaveTel() { return write_from_record(TelF, TelTmpF, telephone_file); }

int SaveOptions() { return write_from_record(OptionF, OptionTmpF, options_file); }

int SaveSecret() {
    PPPConf record;
    if (ReadPPPConfig(&record) != 0) return kNoRecord;
    const char* user = record.User.c_str();
    const char* password = record.Password.c_str();
    if (save_secret(PapF, PapTmpF, user, password, SerialTag) != 0) return kNotWritten;
    if (save_secret(ChapF, ChapTmpF, user, password, SerialTag) != 0) return kSecondNotWritten;
    for (const char* file : {PapF, ChapF}) told(set_mode(file, kSecretMode));
    return 0;
}

int SaveFilter() {
    PPPConf record;
    if (ReadPPPConfig(&record) != 0) return kNoRecord;
    if (!exists(FilterF)) copy_default_filter();
    const Written written = rewrite_lines(
        FilterF, FilterTmpF, Replacement::kKeepMode, [&](std::string_view line, Replacement& out) {
            const bool is_rule = line.starts_with("accept") || line.starts_with("keepup");
            out.write(is_rule ? with_timeout(line, idle_seconds(record)) : std::string(line));
        });
    return code_of(written, kDialFileCodes);
}

int SaveDNS() {
    PPPConf record;
    if (ReadPPPConfig(&record) != 0) return kNoRecord;
    const std::string server = format_text("nameserver %s\n", record.DNS.view());
    bool found = false;
    const Written written = rewrite_lines(
        DNSF, DNSTmpF, Replacement::kKeepMode, IfMissing::create,
        [&](std::string_view line, Replacement& out) {
            if (!line.starts_with("nameserver")) return out.write(line);
            if (!found) out.write(server);
            found = true;
        },
        [&](Replacement& out) {
            if (found) return;
            out.end_line();
            out.write(server);
        });
    return code_of(written, kDialFileCodes);
}

int SaveAllConf(const PPPConf& record, Message& message) {
    const int result = SavePPPConf(record, message);
    return result != 0 ? result : SavePPPOn();
}
