#include "appliance/ppp_conf.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <variant>

#include "appliance/dns_fields.h"
#include "base/files.h"
#include "base/format.h"
#include "base/log.h"
#include "base/paths.h"
#include "base/replacement.h"
#include "base/words.h"
#include "framework/msgfile.h"
#include "framework/profile.h"

namespace {

using Number = int PPPConf::*;
using Port = std::uint32_t PPPConf::*;
using Setting = SettingText PPPConf::*;
using Phone = PhoneText PPPConf::*;
using Address = AddressText PPPConf::*;
using Member = std::variant<Number, Port, Setting, Phone, Address>;

// A line of the file: its key, its field, the value of a missing key, and the line of a new file.
// Readers look a key up by its beginning, so "Web" stands before "WebIP" and "WebPort", and so on.
struct Line {
    const char* key;
    Member field;
    std::string_view missing{};
    std::optional<std::string_view> in_new_file = missing;
};

// The three sets of defaults differ on purpose. A new file proposes an address, while a file that
// has lost its line has none; page_defaults() below is what the "defaults" button has always put
// into the form, with another idle time and without ports.
constexpr Line kLines[] = {
    {"Method", &PPPConf::Method, "0"},
    {"BaudRate", &PPPConf::BaudRate, "115200"},
    {"Modem", &PPPConf::Modem, "_Standard Modem"},
    {"InitStr", &PPPConf::InitStr, "AT&F"},
    {"DialType", &PPPConf::DialType, "0"},
    {"User", &PPPConf::User},
    {"Password", &PPPConf::Password},
    {"Security", &PPPConf::Security, "0"},
    {"Idle", &PPPConf::Idle, "2"},
    {"DynamicIP", &PPPConf::DynamicIP, "1"},
    {"IP", &PPPConf::IP, "", "10.0.0.1"},
    {"Phone1", &PPPConf::Phone1},
    {"Phone2", &PPPConf::Phone2},
    {"Phone3", &PPPConf::Phone3},
    {"DNS", &PPPConf::DNS, "", std::nullopt},  // the servers stand in the appliance settings
    {"Retry", &PPPConf::Retry, "3"},
    {"SrvWeb", &PPPConf::SrvWeb, "1"},
    {"SAP", &PPPConf::SAP, "1"},
    {"SrvEMail", &PPPConf::SrvEMail, "1"},
    {"SrvFTP", &PPPConf::SrvFTP, "1"},
    {"SrvTelNet", &PPPConf::SrvTelNet, "1"},
    {"Web", &PPPConf::Web, "0"},
    {"WebIP", &PPPConf::WebIP},
    {"WebPort", &PPPConf::WebPort, "80"},
    {"Pop3", &PPPConf::Pop3, "0"},
    {"Pop3IP", &PPPConf::Pop3IP},
    {"Pop3Port", &PPPConf::Pop3Port, "110"},
    {"Smtp", &PPPConf::Smtp, "0"},
    {"SmtpIP", &PPPConf::SmtpIP},
    {"SmtpPort", &PPPConf::SmtpPort, "25"},
    {"Ftp", &PPPConf::Ftp, "0"},
    {"FtpIP", &PPPConf::FtpIP},
    {"FtpDataPort", &PPPConf::FtpDataPort, "20"},
    {"FtpCtlPort", &PPPConf::FtpCtlPort, "21"},
    {"Https", &PPPConf::Https, "0"},
};

// These belong to an older firmware: nothing reads them, and the first save drops them.
constexpr std::string_view kVpnLinesOfNewFile = "VPN=0\nVPN_IP=\nVPN_IPSEC=500\nVPN_PPTP=1723\n";

constexpr Line kLinesBehindUserServers[] = {
    {"DMZ", &PPPConf::DMZ, "0"},
    {"DMZ_IP", &PPPConf::DMZ_IP},
};

// A key of a user-defined server, with its number in the place of the "#".
constexpr Text<9> numbered(std::string_view key, std::size_t number) {
    std::array<char, 9> text{};
    std::ranges::copy(key, text.begin());
    std::ranges::replace(text, '#', static_cast<char>('0' + number));
    return text.data();
}

struct UserServerKeys {
    Text<9> enabled, name, ip, port;
    constexpr explicit UserServerKeys(std::size_t number)
        : enabled(numbered("VS_UD#", number)),
          name(numbered("UD#_Name", number)),
          ip(numbered("UD#_IP", number)),
          port(numbered("UD#_Port", number)) {}
};
// Of user-defined server 1 to 5.
constexpr std::array<UserServerKeys, PPPConf::kUserServers> kUserServerKeys = {
    UserServerKeys(1), UserServerKeys(2), UserServerKeys(3), UserServerKeys(4), UserServerKeys(5)};

void read_field(PPPConf& record, int PPPConf::*field, const Line& line, const Profile* file) {
    record.*field = static_cast<int>(GetProfileLong(line.key, to_long(line.missing), file));
}

void read_field(PPPConf& record, std::uint32_t PPPConf::*field, const Line& line,
                const Profile* file) {
    record.*field =
        static_cast<std::uint32_t>(GetProfileLong(line.key, to_long(line.missing), file));
}

template <std::size_t N>
void read_field(PPPConf& record, Text<N> PPPConf::*field, const Line& line, const Profile* file) {
    GetProfileString(line.key, line.missing, (record.*field).buffer(), file);
}

void read_lines(PPPConf& record, std::span<const Line> lines, const Profile* file) {
    for (const Line& line : lines)
        std::visit([&](auto field) { read_field(record, field, line, file); }, line.field);
}

void read_user_server(UserServer& server, const UserServerKeys& keys, const Profile* file) {
    // In this order: the address takes the place of what a name of 15 characters has written there.
    Text<UserServer::kReadSize> name;
    AddressText ip;
    server.VS_UD = GetProfileInt(keys.enabled, 0, file);
    GetProfileString(keys.name, "", name.buffer(), file);
    server.set_name(name);
    GetProfileString(keys.ip, "", ip.buffer(), file);
    server.set_ip(ip);
    server.Port = static_cast<std::uint32_t>(GetProfileLong(keys.port, 0, file));
}

void read_stored(PPPConf& record, const Profile& file) {
    read_lines(record, kLines, &file);
    for (std::size_t i = 0; i < record.UD.size(); ++i)
        read_user_server(record.UD[i], kUserServerKeys[i], &file);
    read_lines(record, kLinesBehindUserServers, &file);
}

void copy_lines(const PPPConf& from, std::span<const Line> lines, PPPConf& to) {
    for (const Line& line : lines)
        std::visit([&](auto field) { to.*field = from.*field; }, line.field);
}

// All that the file has, and nothing of what a page works in.
void copy_stored(const PPPConf& from, PPPConf& to) {
    copy_lines(from, kLines, to);
    for (std::size_t i = 0; i < to.UD.size(); ++i) {
        const AddressText buffer = to.UD[i].IPBuf;
        to.UD[i] = from.UD[i];
        to.UD[i].IPBuf = buffer;
    }
    copy_lines(from, kLinesBehindUserServers, to);
}

// What the file said last: most requests ask for it several times.
FileText known_text;
PPPConf known;

std::string as_text(int value) { return std::to_string(value); }
std::string as_text(std::uint32_t value) { return std::to_string(value); }
std::string_view as_text(std::string_view value) { return value; }

template <class Value>
void write_setting(Replacement& out, std::string_view key, const Value& value) {
    out.write(key);
    out.write("=");
    out.write_line(as_text(value));
}

void write_lines(const PPPConf& record, std::span<const Line> lines, Replacement& out) {
    for (const Line& line : lines)
        std::visit([&](auto field) { write_setting(out, line.key, record.*field); }, line.field);
}

void write_new_lines(std::span<const Line> lines, Replacement& out) {
    for (const Line& line : lines)
        if (line.in_new_file) write_setting(out, line.key, *line.in_new_file);
}

void write_user_servers(const std::array<UserServer, PPPConf::kUserServers>& servers,
                        Replacement& out) {
    for (std::size_t i = 0; i < servers.size(); ++i) {
        const UserServerKeys& keys = kUserServerKeys[i];
        write_setting(out, keys.enabled, servers[i].VS_UD);
        write_setting(out, keys.name, servers[i].Name());
        write_setting(out, keys.ip, servers[i].IP());
        write_setting(out, keys.port, servers[i].Port);
    }
}

constexpr PPPConf page_defaults() {
    PPPConf record;
    record.BaudRate = 115200;
    record.Modem = "_Standard Modem";
    record.InitStr = "AT&F";
    record.Idle = 3;
    record.DynamicIP = 1;
    record.IP = "10.0.0.1";
    record.Retry = 3;
    record.SrvWeb = record.SAP = record.SrvEMail = record.SrvFTP = record.SrvTelNet = 1;
    return record;
}

}  // namespace

constexpr PPPConf d_conf = page_defaults();

void Init_PPPConf() {
    Replacement out = Replacement::for_new(PppConfFile, kSecretMode);
    write_new_lines(kLines, out);
    out.write(kVpnLinesOfNewFile);
    write_user_servers({}, out);
    write_new_lines(kLinesBehindUserServers, out);
    told(out.create());
}

int ReadPPPConfig(PPPConf* record) try {
    record->Changed = 0;
    FileText text = file_text(PppConfFile);
    if (!text) {
        Init_PPPConf();
        text = file_text(PppConfFile);
    }
    if (!text) {
        Message message;
        GetErrMsgByIndex(Msg::CannotOpenFile, message, PppConfFile);
        log_line("%s", message.view());
        return 1;
    }
    if (!text.is(known_text)) {
        read_stored(known, Profile(text));
        known_text = std::move(text);
    }
    copy_stored(known, *record);
    // The appliance settings own it; what this file has is a copy that is never read back.
    GetDNS(record->DNS);
    record->NatEnable = PortEnabled();
    return 0;
} catch (const Unreadable&) {
    return 1;
}

int read_record(PPPConf* record, Message& message) {
    const int unreadable = ReadPPPConfig(record);
    if (unreadable) GetErrMsgByIndex(Msg::CannotReadFile, message, PppConfFile);
    return unreadable;
}

int store_record(const PPPConf& record, Message& message) {
    Replacement out(PppConfFile, PppTmpFile, kSecretMode);
    write_lines(record, kLines, out);
    write_user_servers(record.UD, out);
    write_lines(record, kLinesBehindUserServers, out);
    const Written written = out.install();
    if (written == Written::no_temporary)
        GetErrMsgByIndex(Msg::CannotOpenFile, message, PppTmpFile);
    else if (written == Written::not_renamed)
        message = format_text("Cannot rename %s to %s", PppTmpFile, PppConfFile);
    return code_of(written, kRecordCodes);
}

int SavePPPConf(const PPPConf& record, Message& message) {
    const int unstored = store_record(record, message);
    if (unstored) return unstored;
    // Last, so that sharing is never on with a record that is not there.
    const Written written = SetFileString("nat_enable", record.NatEnable ? "yes" : "no", NatConfF);
    return written == Written::missing ? 0 : code_of(written, kRecordCodes);
}

int PortEnabled() {
    const std::optional<Profile> file = Profile::open(NatConfF);
    return file && !setting<8>(file, "nat_enable", "no").view().starts_with("no");
}

int Nat_Method() {
    if (!PortEnabled()) return kNoMethod;
    const std::optional<Profile> file = Profile::open(PppConfFile);
    return file ? GetProfileInt("Method", kNoMethod, &*file) : kNoMethod;
}
