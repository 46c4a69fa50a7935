// The overview reads the internet-sharing record and the filter settings and shows every field that
// the pages of services, web filter and virtual servers edit, with the value in force.
#include "nat/nat_base.h"

#include <vector>

#include "appliance/dns_fields.h"
#include "appliance/record_fields.h"
#include "filter/nat_filter.h"
#include "framework/msgfile.h"
#include "nat/nat_conn.h"
#include "nat/nat_vs.h"

namespace {

constexpr char kPage[] = "nat_base.htm";

int get_true(ValueText& value, LongText&, int&) { return show(value, "true"); }

constexpr std::array kOwnGetters = std::to_array<KeyGetter>({
    {"can_change_vsip_1", get_true},
    {"can_change_vsip_2", get_true},
    {"can_change_vsip_3", get_true},
    {"dns_name", get_dns_name},
});

}  // namespace

int get_nat_base(const char* message, const FormList* form) {
    Message failure;
    if (read_record(&shown_record, failure) != 0 && !message) message = failure.c_str();
    if (read_shown_filter() != 0 && !message) {
        GetErrMsgByIndex(Msg::NoFilterSettings, failure);
        message = failure.c_str();
    }
    std::vector<KeyGetter> keys;
    for (const std::span<const KeyGetter> family :
         {service_getters, filter_getters, server_getters, std::span<const KeyGetter>(kOwnGetters)})
        keys.insert(keys.end(), family.begin(), family.end());
    return render_page(kPage, keys, {}, message, form);
}
