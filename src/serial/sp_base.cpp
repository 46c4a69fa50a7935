// The serial overview reads the internet-sharing record and shows every field that the pages of the
// modem and of the ISP account edit, with the value in force.
#include "serial/sp_base.h"

#include "appliance/dns_fields.h"
#include "appliance/record_page.h"
#include "serial/sp_int.h"
#include "serial/sp_port.h"

namespace {

constexpr char kPage[] = "sp_base.htm";

constexpr std::array kDnsGetters = getters_of(dns_rows<NoRecord>);

}  // namespace

PageTables sp_base_tables() {
    return {join_getters({modem_getters, account_getters, kDnsGetters}), {}};
}

int get_sp_base(const char* message, const FormList* form) {
    PageMessage note(message);
    read_shown_record(note);
    return render_page(kPage, sp_base_tables(), note.text(), form);
}
