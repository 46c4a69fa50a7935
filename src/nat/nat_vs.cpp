// The virtual servers page publishes servers of the LAN on the external address: web, POP3, SMTP
// and FTP, HTTPS on the web server's host, and five that the administrator names.
#include "nat/nat_vs.h"

#include <algorithm>
#include <string>

#include "appliance/addresses.h"
#include "appliance/ppp_conf.h"
#include "base/words.h"
#include "framework/msgfile.h"
#include "nat/external_address.h"

namespace {

constexpr char kPage[] = "nat_vs.htm";

const FormList* posted;  // the form being saved, for savers that look at more than their own field

// The ports of the enabled servers met so far in the form being saved. Each port field claims one
// at most, and the form has ten of them.
std::array<std::uint32_t, 14> used_ports;
std::size_t ports_used;

// ---- the servers: where the record keeps one, and how a refusal names it ----

template <int PPPConf::*Enabled, AddressText PPPConf::*Host, AddressText PPPConf::*Buffer,
          std::uint32_t PPPConf::*Port>
struct FixedServer {
    static constexpr int kRefusal = Msg::BadServerHost;
    static int& enabled(PPPConf& record) { return record.*Enabled; }
    static AddressText& buffer(PPPConf& record) { return record.*Buffer; }
    static std::string_view host(const PPPConf& record) { return record.*Host; }
    static void set_host(PPPConf& record, std::string_view host) { record.*Host = host; }
    static std::uint32_t& port(PPPConf& record) { return record.*Port; }
};

struct Web : FixedServer<&PPPConf::Web, &PPPConf::WebIP, &PPPConf::WebIPBuf, &PPPConf::WebPort> {
    static constexpr std::string_view kLabel = "web";
};
struct Pop3
    : FixedServer<&PPPConf::Pop3, &PPPConf::Pop3IP, &PPPConf::Pop3IPBuf, &PPPConf::Pop3Port> {
    static constexpr std::string_view kLabel = "pop3";
};
struct Smtp
    : FixedServer<&PPPConf::Smtp, &PPPConf::SmtpIP, &PPPConf::SmtpIPBuf, &PPPConf::SmtpPort> {
    static constexpr std::string_view kLabel = "smtp";
};
struct Ftp : FixedServer<&PPPConf::Ftp, &PPPConf::FtpIP, &PPPConf::FtpIPBuf, &PPPConf::FtpCtlPort> {
    static constexpr std::string_view kLabel = "ftp";
};
struct FtpData : Ftp {
    static std::uint32_t& port(PPPConf& record) { return record.FtpDataPort; }
};
struct Https {  // on the web server's host, always port 443
    static int& enabled(PPPConf& record) { return record.Https; }
};

template <std::size_t Number>
struct User {
    static_assert(Number >= 1 && Number <= PPPConf::kUserServers);
    static constexpr int kRefusal = Msg::BadUserServerHost;
    static constexpr char kDigit[] = {'0' + Number, '\0'};
    static constexpr std::string_view kLabel = kDigit;
    static UserServer& server(PPPConf& record) { return record.UD[Number - 1]; }
    static int& enabled(PPPConf& record) { return server(record).VS_UD; }
    static AddressText& buffer(PPPConf& record) { return server(record).IPBuf; }
    static std::string_view host(PPPConf& record) { return server(record).IP(); }
    static void set_host(PPPConf& record, std::string_view host) { server(record).set_ip(host); }
    static std::uint32_t& port(PPPConf& record) { return server(record).Port; }
};

// ---- the savers ----

// The fixed services are off, HTTPS and the user-defined servers are on, when the field says
// neither "checked" nor "unchecked".
bool is_checked(std::string_view value) { return value == "checked"; }
bool is_not_unchecked(std::string_view value) { return value != "unchecked"; }

template <class Server, bool (*IsOn)(std::string_view)>
int save_enable(const char* value, int mode, Message&, PPPConf& record) {
    if (mode == kSet) store(Server::enabled(record), int{IsOn(value)}, record);
    return 0;
}

// A DMZ host takes the ports that passive FTP transfers use; the page warns of it.
int save_ftp_enable(const char* value, int mode, Message& message, PPPConf& record) {
    const bool was_on = record.Ftp != 0;
    save_enable<Ftp, is_checked>(value, mode, message, record);
    if (record.Ftp && !was_on && field_is(posted, "enable_dmz", "checked"))
        warn_no = Msg::FtpServerBesideDmz;
    return 0;
}

template <class Server, void (*AddOctet)(AddressText&, const char*)>
int save_octet(const char* value, int, Message& message, PPPConf& record) {
    if (!octet_fits(value)) {
        GetErrMsgByIndex(Server::kRefusal, message, Server::kLabel);
        return 1;
    }
    AddOctet(Server::buffer(record), value);
    return 0;
}

template <class Server>
int save_last_octet(const char* value, int mode, Message& message, PPPConf& record) {
    const int refused = save_octet<Server, last_octet>(value, mode, message, record);
    const AddressText& host = Server::buffer(record);
    if (refused || host == Server::host(record)) return refused;
    Server::set_host(record, host);
    record.Changed = 1;
    return 0;
}

bool claim(std::uint32_t port) {
    const auto end = used_ports.begin() + static_cast<std::ptrdiff_t>(ports_used);
    if (std::find(used_ports.begin(), end, port) != end) return false;
    used_ports[ports_used++] = port;
    return true;
}

// Stored as typed; only a port that another enabled server has is refused.
template <class Server>
int save_port(const char* value, int, Message& message, PPPConf& record) {
    const auto port = static_cast<std::uint32_t>(to_long(value));
    store(Server::port(record), port, record);
    return !Server::enabled(record) || claim(port) ? 0 : refuse(Msg::PortInUse, message);
}

template <class Server>
int save_name(const char* value, int mode, Message&, PPPConf& record) {
    if (mode == kCheck) return 0;
    const Text<UserServer::kNameSize> name = value;
    UserServer& server = Server::server(record);
    if (name == server.Name()) return 0;
    server.set_name(name);
    record.Changed = 1;
    return 0;
}

constexpr std::array key_fun_tab = std::to_array<KeyFun<PPPConf>>({
    {"isp_IP_address", get_isp_ip, nullptr},
    {"vs_web_enable", nullptr, save_enable<Web, is_checked>},
    {"vs_web_1", nullptr, save_octet<Web, first_octet>},
    {"vs_web_2", nullptr, save_octet<Web, middle_octet>},
    {"vs_web_3", nullptr, save_octet<Web, middle_octet>},
    {"vs_web_4", nullptr, save_last_octet<Web>},
    {"vs_web_portno", nullptr, save_port<Web>},
    {"vs_pop3_enable", nullptr, save_enable<Pop3, is_checked>},
    {"vs_pop3_1", nullptr, save_octet<Pop3, first_octet>},
    {"vs_pop3_2", nullptr, save_octet<Pop3, middle_octet>},
    {"vs_pop3_3", nullptr, save_octet<Pop3, middle_octet>},
    {"vs_pop3_4", nullptr, save_last_octet<Pop3>},
    {"vs_pop3_portno", nullptr, save_port<Pop3>},
    {"vs_smtp_enable", nullptr, save_enable<Smtp, is_checked>},
    {"vs_smtp_1", nullptr, save_octet<Smtp, first_octet>},
    {"vs_smtp_2", nullptr, save_octet<Smtp, middle_octet>},
    {"vs_smtp_3", nullptr, save_octet<Smtp, middle_octet>},
    {"vs_smtp_4", nullptr, save_last_octet<Smtp>},
    {"vs_smtp_portno", nullptr, save_port<Smtp>},
    {"vs_ftp_enable", nullptr, save_ftp_enable},
    {"vs_ftp_1", nullptr, save_octet<Ftp, first_octet>},
    {"vs_ftp_2", nullptr, save_octet<Ftp, middle_octet>},
    {"vs_ftp_3", nullptr, save_octet<Ftp, middle_octet>},
    {"vs_ftp_4", nullptr, save_last_octet<Ftp>},
    {"vs_ftp_portno_ctrl", nullptr, save_port<Ftp>},
    {"vs_ftp_portno_data", nullptr, save_port<FtpData>},
    {"vs_https_enable", nullptr, save_enable<Https, is_not_unchecked>},
    {"vs_ud1_enable", nullptr, save_enable<User<1>, is_not_unchecked>},
    {"vs_ud1_name", nullptr, save_name<User<1>>},
    {"vs_ud1_1", nullptr, save_octet<User<1>, first_octet>},
    {"vs_ud1_2", nullptr, save_octet<User<1>, middle_octet>},
    {"vs_ud1_3", nullptr, save_octet<User<1>, middle_octet>},
    {"vs_ud1_4", nullptr, save_last_octet<User<1>>},
    {"vs_ud1_portno", nullptr, save_port<User<1>>},
    {"vs_ud2_enable", nullptr, save_enable<User<2>, is_not_unchecked>},
    {"vs_ud2_name", nullptr, save_name<User<2>>},
    {"vs_ud2_1", nullptr, save_octet<User<2>, first_octet>},
    {"vs_ud2_2", nullptr, save_octet<User<2>, middle_octet>},
    {"vs_ud2_3", nullptr, save_octet<User<2>, middle_octet>},
    {"vs_ud2_4", nullptr, save_last_octet<User<2>>},
    {"vs_ud2_portno", nullptr, save_port<User<2>>},
    {"vs_ud3_enable", nullptr, save_enable<User<3>, is_not_unchecked>},
    {"vs_ud3_name", nullptr, save_name<User<3>>},
    {"vs_ud3_1", nullptr, save_octet<User<3>, first_octet>},
    {"vs_ud3_2", nullptr, save_octet<User<3>, middle_octet>},
    {"vs_ud3_3", nullptr, save_octet<User<3>, middle_octet>},
    {"vs_ud3_4", nullptr, save_last_octet<User<3>>},
    {"vs_ud3_portno", nullptr, save_port<User<3>>},
    {"vs_ud4_enable", nullptr, save_enable<User<4>, is_not_unchecked>},
    {"vs_ud4_name", nullptr, save_name<User<4>>},
    {"vs_ud4_1", nullptr, save_octet<User<4>, first_octet>},
    {"vs_ud4_2", nullptr, save_octet<User<4>, middle_octet>},
    {"vs_ud4_3", nullptr, save_octet<User<4>, middle_octet>},
    {"vs_ud4_4", nullptr, save_last_octet<User<4>>},
    {"vs_ud4_portno", nullptr, save_port<User<4>>},
    {"vs_ud5_enable", nullptr, save_enable<User<5>, is_not_unchecked>},
    {"vs_ud5_name", nullptr, save_name<User<5>>},
    {"vs_ud5_1", nullptr, save_octet<User<5>, first_octet>},
    {"vs_ud5_2", nullptr, save_octet<User<5>, middle_octet>},
    {"vs_ud5_3", nullptr, save_octet<User<5>, middle_octet>},
    {"vs_ud5_4", nullptr, save_last_octet<User<5>>},
    {"vs_ud5_portno", nullptr, save_port<User<5>>},
});

}  // namespace

int get_vs(const char* message, const FormList* form) {
    PPPConf record;
    Message failure;
    if (read_record(&record, failure) != 0 && !message) message = failure.c_str();
    return html_parser(kPage, key_fun_tab, {}, message, form);
}

int set_vs(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails, int mode,
           Message& message) {
    posted = form;
    ports_used = 0;
    if (!field_is(form, "todo", "save")) return 0;
    PPPConf record;
    const int unreadable = read_record(&record, message);
    if (unreadable) return unreadable;
    bool any = false;
    const int refused =
        save_fields(key_fun_tab, form, Present::also_empty, mode, message, record, any);
    if (refused || mode == kCheck || !any || !record.Changed) return refused;
    const int unsaved = SavePPPConf(record, message);
    if (unsaved) return unsaved;
    AddProcToQueue(kSaveAndRunVS, heads, queued, tails);
    return 0;
}
