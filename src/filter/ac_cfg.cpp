// The access-control page divides the hosts of the LAN into groups and decides which internet ports
// the members of a group may use. The default group stands for every host that no other one names.
// The switch that turns all of this on belongs to the services page.
#include "filter/ac_cfg.h"

#include <optional>
#include <string>
#include <vector>

#include "appliance/addresses.h"
#include "appliance/commands.h"
#include "base/paths.h"
#include "base/quote.h"
#include "filter/ac_lists.h"
#include "filter/ac_script.h"
#include "framework/answer.h"
#include "framework/msgfile.h"
#include "framework/profile.h"

namespace {

constexpr char kPage[] = "ac_cfg.htm";
constexpr std::string_view kSection = "ACC_CTRL";

constexpr std::string_view kGroupName = "Group  ";  // the last character is the group's number
constexpr std::size_t kNumberPlace = 6;
constexpr char kDefaultGroup = '0';

using ListText = Text<288>;

// The selected group and its lists.
struct AccessGroup {
    char number = kDefaultGroup;
    ListText ports;
    ListText hosts;
};

AccessGroup acc;
Message mesg;  // what the setter has to say about a request that it accepted

// ---- the group in the settings ----

std::string ports_key() { return {'G', acc.number, 'P'}; }
std::string hosts_key() { return {'G', acc.number, 'A'}; }

// False when there are no settings; the lists are empty then.
bool read_group() {
    const std::optional<Profile> settings = Profile::open(QSCfgF);
    acc.ports = setting<ListText::size>(settings, ports_key(), "");
    acc.hosts = setting<ListText::size>(settings, hosts_key(), "");
    return settings.has_value();
}

// A list that its reader would cut short is not stored.
bool store_list(const std::string& key, std::string_view list) {
    const std::size_t line = key.size() + 1 + list.size();
    if (line > kProfileLine)
        refuse(Msg::ListFull, mesg);
    else if (SetProfileString(kSection, key, list, QSCfgF) == 0)
        return true;
    refuse_after_all();
    return false;
}

bool store_ports(std::string_view ports) {
    return store_list(ports_key(), ports) && update_change(acc.number, GroupBlock::ports, ports);
}

void store_hosts(std::string_view hosts) {
    if (store_list(hosts_key(), hosts)) update_change(acc.number, GroupBlock::hosts, hosts);
}

// ---- the LAN ----

// The appliance's own address in the LAN, asked for once a request.
const Octets& lan_address() {
    static const Octets lan = [] {
        constexpr std::string_view kLabel = "inet addr:";
        constexpr std::size_t kLine = 127;
        const std::optional<std::string> line = ask_line(Command::interface, "eth1", kLine, "inet");
        Text<kLine + 1> address;
        if (!line) {
            address = setting<kLine + 1>(QSCfgF, "ip_addr", "");
        } else if (const std::size_t at = line->find(kLabel); at != std::string::npos) {
            const std::string_view rest = std::string_view(*line).substr(at + kLabel.size());
            address = rest.substr(0, rest.find_first_not_of("0123456789."));
        }
        Octets octets;
        extract_ip(address, octets[0], octets[1], octets[2], octets[3]);
        return octets;
    }();
    return lan;
}

// ---- the actions ----

// "start-finish", or the one of them that is given.
std::string item_of(std::string_view start, std::string_view finish) {
    if (start.empty() || finish.empty()) return std::string(start.empty() ? finish : start);
    return std::string(start) + "-" + std::string(finish);
}

// The items go to a script that a shell reads.
bool is_storable(std::string_view item, std::string_view label) {
    const char bad = shell_character(item);
    if (!bad) return true;
    GetErrMsgByIndex(Msg::UnstorableCharacter, mesg, label, std::string_view(&bad, 1));
    refuse_after_all();
    return false;
}

std::vector<const char*> selected(const FormList* form, std::string_view key) {
    std::vector<const char*> items;
    find_val_multi(form, key, items);
    return items;
}

void change_access(const FormList* form) {
    const std::string_view choice = field_text(form, "block_allow");
    // A form that does not say which allows, as a new group does.
    const bool allow = choice.empty() || choice.starts_with("Allow");
    if (store_ports(with_mode(acc.ports, allow ? kAllowPorts : kBlockPorts)))
        GetErrMsgOr(Msg::ModeSaved, "Allow/Block changes saved.", mesg);
}

void add_port(const FormList* form) {
    const std::string item =
        item_of(field_text(form, "port_start"), field_text(form, "port_finish"));
    if (!item.empty() && is_storable(item, "Port")) store_ports(with_port(acc.ports, item));
}

void del_port(const FormList* form) {
    const std::vector<const char*> items = selected(form, "port_list");
    if (!items.empty() && !acc.ports.empty()) store_ports(without_ports(acc.ports, items));
}

// The first three octets, which the page shows as those of the LAN.
struct NetworkField {
    std::string_view typed, shown;
};
constexpr std::array<NetworkField, 3> kNetworkFields = {
    {{"start_ip_1", "vs_web_1"}, {"start_ip_2", "vs_web_2"}, {"start_ip_3", "vs_web_3"}}};

void add_ip(const FormList* form) {
    const std::string hosts =
        item_of(field_text(form, "start_ip_4"), field_text(form, "finish_ip_4"));
    if (hosts.empty()) return;
    std::string network;
    bool in_lan = true;
    for (std::size_t i = 0; i < kNetworkFields.size(); ++i) {
        std::string_view octet = field_text(form, kNetworkFields[i].typed);
        if (octet.empty()) octet = field_text(form, kNetworkFields[i].shown);
        network += std::string(octet) + ".";
        // As texts, so 010 is none of a LAN's; such a host is warned of and added all the same.
        in_lan = in_lan && lan_address()[i] == octet;
    }
    const std::string item = network + hosts;
    if (!is_storable(item, "IP address")) return;
    if (!in_lan) GetErrMsgOr(Msg::OutsideLan, "Warning: ip address not in LAN range.", mesg);
    store_hosts(with_host(acc.hosts, item, network));
}

void del_ip(const FormList* form) {
    const std::vector<const char*> items = selected(form, "address_list");
    if (!items.empty() && !acc.hosts.empty()) store_hosts(without_hosts(acc.hosts, items));
}

struct PageAction {
    std::string_view todo;
    void (*run)(const FormList* form);
};

constexpr std::array kActions = std::to_array<PageAction>({
    {"change_access", change_access},
    {"add_port", add_port},
    {"del_port", del_port},
    {"add_ip", add_ip},
    {"del_ip", del_ip},
});

// ---- the values ----

int get_group_name(ValueText& value, LongText&, int&) {
    std::string name(kGroupName);
    name[kNumberPlace] = acc.number;
    return show(value, acc.number == kDefaultGroup ? "Default" : name);
}

int get_block_allow(ValueText& value, LongText&, int&) {
    const char mode = acc.ports.empty() ? kAllowPorts : acc.ports.view().front();
    return show(value, mode == ' ' || mode == kAllowPorts ? "Allow"
                       : mode == kBlockPorts              ? "Block"
                                                          : "");
}

std::string options(const std::vector<std::string_view>& items) {
    std::string text;
    for (const std::string_view item : items)
        text += (text.empty() ? "<option>" : "\n<option>") + std::string(item);
    return text;
}

int get_port_list(ValueText&, LongText& text, int&) {
    text = options(port_items(acc.ports));
    return 0;
}

int get_address_list(ValueText&, LongText& text, int&) {
    text = options(list_items(acc.hosts));
    return 0;
}

template <std::size_t Number>
int get_lan_octet(ValueText& value, LongText&, int&) {
    return show(value, lan_address()[Number - 1]);
}

int get_fixed(ValueText& value, LongText&, int&) { return show(value, "false"); }

constexpr std::array key_fun_tab = std::to_array<KeyFun<NoRecord>>({
    {"group_name", get_group_name, nullptr},
    {"block_allow", get_block_allow, nullptr},
    {"port_list", get_port_list, nullptr, false, Shape::options},
    {"address_list", get_address_list, nullptr, false, Shape::options},
    {"vs_web_1", get_lan_octet<1>, nullptr},
    {"vs_web_2", get_lan_octet<2>, nullptr},
    {"vs_web_3", get_lan_octet<3>, nullptr},
    {"can_change_vsip_1", get_fixed, nullptr},
    {"can_change_vsip_2", get_fixed, nullptr},
    {"can_change_vsip_3", get_fixed, nullptr},
    {"port_start", nullptr, nullptr},
    {"port_finish", nullptr, nullptr},
    {"start_ip_1", nullptr, nullptr},
    {"start_ip_2", nullptr, nullptr},
    {"start_ip_3", nullptr, nullptr},
    {"start_ip_4", nullptr, nullptr},
    {"finish_ip_4", nullptr, nullptr},
});

// Whatever names no group means the default one.
char group_number(std::string_view name) {
    const char number = name.size() > kNumberPlace ? name[kNumberPlace] : kDefaultGroup;
    return number >= '1' && number <= '3' ? number : kDefaultGroup;
}

}  // namespace

PageTables ac_cfg_tables() { return {rows_of(key_fun_tab), {}}; }

int get_ac_cfg(const char* message, const FormList* form) {
    gather(read_group);
    if (!message && !mesg.empty()) message = mesg.c_str();
    return render_page(kPage, ac_cfg_tables(), message, form);
}

int show_group(const FormList* form) {
    acc.number = group_number(field_text(form, "group_name"));
    return get_ac_cfg(nullptr, nullptr);
}

int set_ac_cfg(const FormList* form, ProcHeads*, ProcFlags*, ProcTails*, int mode, Message&) {
    if (mode == kCheck) return 0;
    acc.number = group_number(field_text(form, "group_name"));
    if (!read_group()) return 0;
    for (const PageAction& action : kActions)
        if (field_is(form, "todo", action.todo)) action.run(form);
    return 0;
}
