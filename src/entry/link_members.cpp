#include "entry/link_members.h"

#include <algorithm>

#include "appliance/link_state.h"
#include "appliance/ppp_conf.h"
#include "base/format.h"
#include "base/json.h"
#include "entry/page_table.h"
#include "framework/page_data.h"
#include "serial/sp_st.h"
#include "wan/dc_st.h"
#include "wan/ppp_st.h"

namespace {

const FormList* asking_form = nullptr;

LinkState state_of_method(int method) {
    switch (method) {
        case kDirect:
            return direct_link_state();
        case kPPPoE:
            return pppoe_link_state();
        default:
            return modem_link_state();
    }
}

// A link that is up is told of whatever the settings say: the modem's may outlive its switch.
LinkState link_state() {
    PPPConf record;
    if (ReadPPPConfig(&record) != 0) return {"", kNoMethodYet, "The settings cannot be read."};
    LinkState link = state_of_method(Nat_Method());
    if (link.state == kConnected) return link;
    const bool is_modem = record.Method != kDirect && record.Method != kPPPoE;
    if (is_modem && record.Phone1.empty())
        return {"", kNoMethodYet,
                "No connection is set up yet. How does this appliance reach the internet?"};
    if (record.NatEnable) return link;
    link.state = kOff;
    link.method = is_modem ? kModemLabel : record.Method == kDirect ? kDirectLabel : kPPPoELabel;
    link.cause = format_text("Internet access is switched off. The method is %s.", link.method);
    return link;
}

// The same; what cannot be read is its cause.
LinkState readable_link_state() try { return link_state(); } catch (const Unreadable&) {
    return {"", kNoMethodYet, "The settings cannot be read."};
}

void write_members(JsonText& json, std::string_view page) {
    const auto is_page = [&](const char* name) { return page == name; };
    if (std::ranges::none_of(StatusTab, is_page) && !field_is(asking_form, "state", "yes")) return;
    const LinkState link = readable_link_state();
    json.member("state", link.state);
    json.member("cause", link.cause);
    json.member("method", link.method);
    json.member("address", link.address);
}

}  // namespace

void offer_link_members(const FormList* form) {
    asking_form = form;
    further_members = write_members;
}
