// The virtual servers page publishes servers of the LAN on the external address: web, POP3, SMTP
// and FTP, HTTPS on the web server's host, and five that the administrator names.
#include "nat/nat_vs.h"

#include <algorithm>
#include <string>
#include <vector>

#include "appliance/addresses.h"
#include "appliance/record_page.h"
#include "base/words.h"
#include "nat/external_address.h"

namespace {

constexpr char kPage[] = "nat_vs.htm";

// The record as the form changes it, and what its savers need besides.
struct ServerEdit : PPPConf {
    const FormList* form = nullptr;       // for savers that look at more than their own field
    std::vector<std::uint32_t> usedport;  // the ports of the enabled servers met so far
};

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
// On the web server's host, always port 443. It claims no port: an administrator may give 443 to a
// server of his own, on the same host for one.
struct Https {
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

template <class Server, bool (*IsOn)(std::string_view)>
int save_enable(const char* value, int mode, Message&, ServerEdit& record) {
    if (mode == kSet) store(Server::enabled(record), int{IsOn(value)}, record);
    return 0;
}

// A DMZ host takes the ports that passive FTP transfers use; the page warns of it.
int save_ftp_enable(const char* value, int mode, Message& message, ServerEdit& record) {
    const bool was_on = record.Ftp != 0;
    save_enable<Ftp, is_checked>(value, mode, message, record);
    if (record.Ftp && !was_on && is_checked(field_text(record.form, "enable_dmz")))
        warn_no = Msg::FtpServerBesideDmz;
    return 0;
}

template <class Server, void (*AddOctet)(AddressText&, const char*)>
int save_octet(const char* value, int, Message& message, ServerEdit& record) {
    if (!octet_fits(value)) {
        GetErrMsgByIndex(Server::kRefusal, message, Server::kLabel);
        return 1;
    }
    AddOctet(Server::buffer(record), value);
    return 0;
}

template <class Server>
int save_last_octet(const char* value, int mode, Message& message, ServerEdit& record) {
    const int refused = save_octet<Server, last_octet>(value, mode, message, record);
    const AddressText& host = Server::buffer(record);
    if (refused || host == Server::host(record)) return refused;
    Server::set_host(record, host);
    record.Changed = 1;
    return 0;
}

bool claim(std::uint32_t port, std::vector<std::uint32_t>& usedport) {
    if (std::ranges::count(usedport, port) > 0) return false;
    usedport.push_back(port);
    return true;
}

// Stored as typed; only a port that another enabled server has is refused. When checking, a server
// counts as enabled when it is on disk: the form's switches are stored in the set phase alone.
template <class Server>
int save_port(const char* value, int, Message& message, ServerEdit& record) {
    const auto port = static_cast<std::uint32_t>(to_long(value));
    store(Server::port(record), port, record);
    return !Server::enabled(record) || claim(port, record.usedport)
               ? 0
               : refuse(Msg::PortInUse, message);
}

template <class Server>
int save_name(const char* value, int mode, Message&, ServerEdit& record) {
    if (mode == kCheck) return 0;
    const Text<UserServer::kNameSize> name = value;
    UserServer& server = Server::server(record);
    if (name == server.Name()) return 0;
    server.set_name(name);
    record.Changed = 1;
    return 0;
}

// ---- the values in force ----

template <class Server>
int get_enable(ValueText& value, LongText&, int&) {
    return show_switch(value, Server::enabled(shown_record) != 0);
}

template <class Server>
int get_name(ValueText& value, LongText&, int&) {
    return show(value, Server::server(shown_record).Name());
}

template <class Server, int Number>
int get_part(ValueText& value, LongText&, int&) {
    return show(value, octet_of(Server::host(shown_record), Number));
}

template <class Server>
int get_port(ValueText& value, LongText&, int&) {
    return show(value, std::to_string(Server::port(shown_record)));
}

// ---- the rows of a server; all of its fields have names that begin alike ----

using Row = KeyFun<ServerEdit>;

template <Literal Begin, class Server>
constexpr std::array kSwitch = std::to_array<Row>({
    {joined<Begin, "_enable">, get_enable<Server>, save_enable<Server, is_checked>},
});
template <Literal Begin, class Server>
constexpr std::array kSwitchUnlessOff = std::to_array<Row>({
    {joined<Begin, "_enable">, get_enable<Server>, save_enable<Server, is_not_unchecked>},
});
template <Literal Begin, class Server>
constexpr std::array kHost = std::to_array<Row>({
    {joined<Begin, "_1">, get_part<Server, 1>, save_octet<Server, first_octet>},
    {joined<Begin, "_2">, get_part<Server, 2>, save_octet<Server, middle_octet>},
    {joined<Begin, "_3">, get_part<Server, 3>, save_octet<Server, middle_octet>},
    {joined<Begin, "_4">, get_part<Server, 4>, save_last_octet<Server>},
});
template <Literal Key, class Server>
constexpr std::array kPort = std::to_array<Row>({
    {joined<Key, "">, get_port<Server>, save_port<Server>},
});
template <Literal Begin, class Server>
constexpr std::array kName = std::to_array<Row>({
    {joined<Begin, "_name">, get_name<Server>, save_name<Server>},
});

template <Literal Begin, class Server>
constexpr auto kFixedServer = join_rows(kSwitch<Begin, Server>, kHost<Begin, Server>,
                                        kPort<joined_literal<Begin, "_portno">, Server>);
template <Literal Begin, class Server>
constexpr auto kUserServer = join_rows(kSwitchUnlessOff<Begin, Server>, kName<Begin, Server>,
                                       kHost<Begin, Server>,
                                       kPort<joined_literal<Begin, "_portno">, Server>);

constexpr std::array ftp_switch = std::to_array<Row>({
    {"vs_ftp_enable", get_enable<Ftp>, save_ftp_enable},
});

// The order is that of checking: a port is compared with those of the servers before it.
constexpr std::array server_rows = join_rows(
    kFixedServer<"vs_web", Web>, kFixedServer<"vs_pop3", Pop3>, kFixedServer<"vs_smtp", Smtp>,
    ftp_switch, kHost<"vs_ftp", Ftp>, kPort<"vs_ftp_portno_ctrl", Ftp>,
    kPort<"vs_ftp_portno_data", FtpData>, kSwitchUnlessOff<"vs_https", Https>,
    kUserServer<"vs_ud1", User<1>>, kUserServer<"vs_ud2", User<2>>, kUserServer<"vs_ud3", User<3>>,
    kUserServer<"vs_ud4", User<4>>, kUserServer<"vs_ud5", User<5>>);

constexpr std::array address_row = std::to_array<Row>({{"isp_IP_address", get_isp_ip, nullptr}});

constexpr std::array key_fun_tab = join_rows(address_row, without_getters(server_rows));
constexpr std::array kServerGetters = getters_of(server_rows);

}  // namespace

constinit const std::span<const KeyGetter> server_getters = kServerGetters;

PageTables nat_vs_tables() { return {rows_of(key_fun_tab), {}}; }

int get_vs(const char* message, const FormList* form) {
    PageMessage note(message);
    read_shown_record(note);
    return render_page(kPage, nat_vs_tables(), note.text(), form);
}

int set_vs(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails, int mode,
           Message& message) {
    if (!field_is(form, "todo", "save")) return 0;
    ServerEdit record;
    record.form = form;
    const auto walk = [&] {
        return save_fields(key_fun_tab, form, Present::also_empty, mode, message, record);
    };
    const Saved saved = save_record(record, mode, message, walk);
    if (saved.stored) AddProcToQueue(kSaveAndRunVS, heads, queued, tails);
    return saved.refused;
}
