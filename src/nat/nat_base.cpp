// The overview reads the internet-sharing record and the filter settings and shows every field that
// the pages of services, web filter and virtual servers edit, with the value in force.
#include "nat/nat_base.h"

#include "appliance/dns_fields.h"
#include "appliance/record_page.h"
#include "filter/nat_filter.h"
#include "nat/nat_conn.h"
#include "nat/nat_vs.h"

namespace {

constexpr char kPage[] = "nat_base.htm";

// Here every octet of a host can be typed; access control keeps those of the LAN (ac_cfg.cpp).
int get_true(ValueText& value, LongText&, int&) { return show(value, "true"); }

constexpr std::array kOwnGetters = std::to_array<KeyGetter>({
    {"can_change_vsip_1", get_true},
    {"can_change_vsip_2", get_true},
    {"can_change_vsip_3", get_true},
    {"dns_name", get_dns_name},
});

}  // namespace

PageTables nat_base_tables() {
    return {join_getters({service_getters, filter_getters, server_getters, kOwnGetters}), {}};
}

int get_nat_base(const char* message, const FormList* form) {
    PageMessage note(message);
    read_shown_record(note);
    if (read_shown_filter() != 0) note.tell(Msg::NoFilterSettings);
    return render_page(kPage, nat_base_tables(), note.text(), form);
}
