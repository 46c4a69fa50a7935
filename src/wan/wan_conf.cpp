#include "wan/wan_conf.h"

#include <array>
#include <optional>
#include <vector>

#include "appliance/addresses.h"
#include "appliance/links.h"
#include "appliance/secrets.h"
#include "base/files.h"
#include "base/format.h"
#include "base/paths.h"
#include "base/quote.h"
#include "base/replacement.h"
#include "base/words.h"
#include "framework/profile.h"
#include "nat/dial_files.h"

namespace {

constexpr int kFileMissing = 14;

// The first three lines of the WAN settings file, as they stand, whatever they hold: sharing,
// interface and method are the services page's. What stands behind them is the account's.
std::array<std::string, 3> settings_to_keep() {
    constexpr std::size_t kKeptLength = 63;
    std::array<std::string, 3> kept = {"nat_enable=no", "nat_interface=eth0", "connect_method=2"};
    LineReader in(NatConfF);
    for (std::string& line : kept) {
        if (!in.is_open() || !in.next()) break;
        line = in.text().substr(0, kKeptLength);
    }
    return kept;
}

// Takes the value of a line "key=value".
std::optional<std::string_view> value_behind(std::string_view line, std::string_view key) {
    if (!line.starts_with(key)) return std::nullopt;
    return line.substr(key.size());
}

void extract_octets(std::string_view text, Octets& octets) {
    extract_ip(text, octets[0], octets[1], octets[2], octets[3]);
}

}  // namespace

Written SavePPPoeConf(const PPPoeConf& record) {
    std::string text;
    for (const std::string& line : settings_to_keep()) text += line + "\n";
    text += format_text("pppoe_username=%s\npppoe_password=%s\n", record.user.view(),
                        record.password.view());
    text += format_text("idle=%d\npppoe_dyna=%d\n", record.idle, record.dynamic);
    // With an address this last line has no line end, and is meant to have none: readers take the
    // end of the file for one, and whoever adds a line (SetFileString) ends it first.
    text += record.address[0].empty() ? "pppoe_ip=\n" : "pppoe_ip=" + join_octets(record.address);
    Replacement out(NatConfF, NatConfTmpF, kSecretMode);
    out.write(text);
    const Written stored = out.install();
    if (stored != Written::done) return stored;
    if (SavePPPoeSecret(record) != 0) return Written::not_written;

    // Without an idle time the link stays up for good: it neither hangs up nor waits for traffic.
    const std::string timeout = std::to_string(record.idle * 60L);
    const std::string service = shell_quoted_text(record.service);
    const std::array settings = std::to_array<Setting>({
        {"USER", shell_word(record.user)},
        {"DEMAND", record.idle ? timeout : "no"},
        {"PPPOE_TIMEOUT", timeout},
        {"PPPOE_EXTRA", service.empty() ? "\"\"" : "\"-S " + service + "\""},
    });
    const Written written = set_file_strings(settings, PPPoeConfF);
    // An appliance without the PPPoE programs has no such file; its account is stored all the same.
    return written == Written::missing ? Written::done : written;
}

int SavePPPoeSecret(const PPPoeConf& record) {
    const char* user = record.user.c_str();
    const char* password = record.password.c_str();
    int result = save_secret(PapF, PapTmpF, user, password, "PPPoE");
    if (result == 0) result = save_secret(ChapF, ChapTmpF, user, password, "PPPoE");
    // Whatever became of the secrets: no stranger reads the others in these files.
    for (const char* file : {PapF, ChapF}) told(set_mode(file, kSecretMode));
    return result;
}

Written SaveDirectConf(const DirectConf& record) {
    // While another method is in force this is that one's. The port gets its file from the settings
    // as soon as it is its turn (RunDirectConnect).
    const InterfaceText interface = wan_interface();
    std::string text = interface_head(interface, record.dynamic ? "dhcp" : "none");
    std::vector<Setting> settings;
    struct Address {
        const char* setting;
        const char* variable;
        const Octets& octets;
    };
    const Address addresses[] = {{"wan_ipaddr", "IPADDR", record.address},
                                 {"wan_netmask", "NETMASK", record.netmask},
                                 {"wan_gateway", "GATEWAY", record.gateway}};
    for (const Address& address : addresses) {
        const std::string dotted = record.dynamic ? "" : join_octets(address.octets);
        settings.push_back({address.setting, dotted});
        if (!record.dynamic) text += format_text("%s=%s\n", address.variable, shell_word(dotted));
    }
    if (record.dynamic && !record.host_name.empty())
        text += format_text("DHCP_HOSTNAME=%s\n", shell_word(record.host_name));
    // One or two characters are what is left of a line end, not an address.
    if (record.hardware_address.view().size() > 2)
        text += format_text("MACADDR=%s\n", shell_word(with_colons(record.hardware_address)));
    settings.push_back({"wan_name", std::string(record.host_name)});
    settings.push_back({"dynamic", std::to_string(record.dynamic)});
    settings.push_back({"wan_hw_addr", std::string(record.hardware_address)});

    // The interface file first: settings that promise what is not in force would be worse.
    const Written written = replace_file(format_text(IfCfgF, interface.view()), text);
    return written == Written::done ? set_settings("network", settings, QSCfgF) : written;
}

int GetPPPoeConf(PPPoeConf* record) try {
    if (!record) return 1;
    *record = PPPoeConf{};
    record->idle = 5;
    record->dynamic = 1;
    LineReader in(NatConfF);
    if (!in.is_open()) return kFileMissing;
    // Of several lines with a key the last one counts, here and below, not the first (profile.h).
    while (in.next()) {
        const std::string_view line = in.text();
        if (const auto user = value_behind(line, "pppoe_username=")) record->user = *user;
        if (const auto password = value_behind(line, "pppoe_password="))
            record->password = *password;
        if (const auto idle = value_behind(line, "idle=")) record->idle = to_int(*idle);
        if (const auto dynamic = value_behind(line, "pppoe_dyna="))
            record->dynamic = to_int(*dynamic);
        if (const auto address = value_behind(line, "pppoe_ip="))
            extract_octets(*address, record->address);
    }
    const std::optional<Profile> file = Profile::open(PPPoeConfF);
    if (!file) return kFileMissing;
    const Text<80> extra = setting<80>(file, "PPPOE_EXTRA", "");
    const std::size_t option = extra.view().find("-S ");
    if (option == std::string_view::npos) return 0;
    std::string_view service = extra.view().substr(option + 3);
    service = TrancateSpace(service.substr(0, service.find('"')));
    record->service = shell_unquoted_text(service);
    return 0;
} catch (const Unreadable&) {
    return kFileMissing;
}

bool read_direct_conf(DirectConf& record) {
    record = DirectConf{};
    LineReader in(QSCfgF);
    if (!in.is_open()) return false;
    while (in.next()) {
        const std::string_view line = in.text();
        if (const auto dynamic = value_behind(line, "dynamic=")) record.dynamic = to_int(*dynamic);
        if (const auto name = value_behind(line, "wan_name="))
            if (!name->empty()) record.host_name = *name;
        if (const auto address = value_behind(line, "wan_ipaddr="))
            extract_octets(*address, record.address);
        if (const auto netmask = value_behind(line, "wan_netmask="))
            extract_octets(*netmask, record.netmask);
        if (const auto gateway = value_behind(line, "wan_gateway="))
            extract_octets(*gateway, record.gateway);
        if (const auto hardware = value_behind(line, "wan_hw_addr="))
            // A blank in front stands for none.
            record.hardware_address = hardware->starts_with(' ') ? "" : *hardware;
    }
    return true;
}

int GetDirectConf(DirectConf* record) try {
    if (!record) return 1;
    return read_direct_conf(*record) ? 0 : kFileMissing;
} catch (const Unreadable&) {
    return kFileMissing;
}

std::string with_colons(std::string_view hardware_address) {
    std::string text;
    hardware_address = hardware_address.substr(0, 12);
    for (std::size_t i = 0; i < hardware_address.size(); i += 2)
        text.append(text.empty() ? "" : ":").append(hardware_address.substr(i, 2));
    return text;
}

std::string interface_head(std::string_view interface, const char* protocol) {
    return format_text("DEVICE=%s\nONBOOT=no\nBOOTPROTO=%s\n", interface, protocol);
}
