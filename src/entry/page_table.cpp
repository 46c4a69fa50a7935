#include "entry/page_table.h"

#include <iterator>

#include "filter/ac_cfg.h"
#include "filter/filterconf.h"
#include "filter/flt_log.h"
#include "filter/nat_filter.h"
#include "filter/nat_sap.h"
#include "filter/site_pages.h"
#include "nat/dial_files.h"
#include "nat/nat_base.h"
#include "nat/nat_conn.h"
#include "nat/nat_vs.h"
#include "nat/process.h"
#include "nat/vs_script.h"
#include "serial/sp_base.h"
#include "serial/sp_int.h"
#include "serial/sp_port.h"
#include "serial/sp_st.h"
#include "wan/dc_st.h"
#include "wan/ppp_st.h"
#include "wan/wan_dc.h"
#include "wan/wan_ppp.h"
#include "wan/wanport.h"

namespace {

constexpr std::array<CgiPage, kPages> kCgiTab = {{
    {"nat_base.htm", get_nat_base, nullptr},
    {"nat_sap.htm", get_sap, set_sap},
    {"nat_conn.htm", get_nat_conn, set_nat_conn},
    {"nat_vs.htm", get_vs, set_vs},
    {"nat_filter.htm", get_nat_filter, set_nat_filter},
    {"sp_base.htm", get_sp_base, nullptr},
    {"sp_port.htm", get_sp_port, set_sp_port},
    {"sp_int.htm", get_sp_int, set_sp_int},
    {"sp_status.htm", get_status, set_status},
    {"sites_allow.htm", get_sites_allow, set_sites_allow},
    {"sites_ban.htm", get_sites_ban, set_sites_ban},
    {"wan_dc.htm", get_wan_dc, set_wan_dc},
    {"dc_status.htm", get_dc_status, set_dc_status},
    {"ppp_status.htm", get_ppp_status, set_ppp_status},
    {"wan_ppp.htm", get_wan_ppp, set_wan_ppp},
    {"filterlog.htm", get_filterlog, set_filter_log},
    {"ac_cfg.htm", get_ac_cfg, set_ac_cfg},
}};

constexpr std::array<SaveGroup, kSaveGroups> kSaveTbl = {
    {{1, 4}, {6, 7}, {11, 11}, {14, 14}, {9, 9}, {10, 10}, {0, 0}}};

constexpr std::array<ProcEntry, ProcNum> kProcTab = {{
    {"Delay", 2, Delay1},
    {"KDiald", 1, StopDiald},
    {"SDiald", 3, StartDiald},
    {"SaDiald", 0, SaveDiald},
    {"SaPPPOn", 0, SavePPPOn},
    {"RSNet", 2, RestartNet},
    {"SaSecret", 0, SaveSecret},
    {"SaTel", 0, SaveTel},
    {"SaOption", 0, SaveOptions},
    {"SaVS", 4, SaveAndRunVS},
    {"RCFilter", 2, ProcReconfigFilter},
    {"RSNat", 3, RunWANConnect},
    {"SaFilter", 0, SaveFilter},
}};

constexpr bool is_page(int index, std::string_view name) {
    return name == kCgiTab[static_cast<std::size_t>(index)].name;
}

constexpr bool is_group(std::size_t row, std::string_view first, std::string_view last) {
    return is_page(kSaveTbl[row].first, first) && is_page(kSaveTbl[row].last, last);
}

constexpr bool is_action(Action action, std::string_view name) {
    return name == kProcTab[action].name;
}

constexpr bool pages_are_unique() {
    for (std::size_t i = 0; i < kCgiTab.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            if (std::string_view(kCgiTab[i].name) == kCgiTab[j].name) return false;
    return true;
}

constexpr bool levels_exist() {
    for (const ProcEntry& entry : kProcTab)
        if (entry.level >= kLevels) return false;
    return true;
}

static_assert(pages_are_unique());
static_assert(is_group(0, "nat_sap.htm", "nat_filter.htm") &&
              is_group(1, "sp_port.htm", "sp_int.htm") && is_group(2, "wan_dc.htm", "wan_dc.htm") &&
              is_group(3, "wan_ppp.htm", "wan_ppp.htm") &&
              is_group(4, "sites_allow.htm", "sites_allow.htm") &&
              is_group(5, "sites_ban.htm", "sites_ban.htm") &&
              is_group(6, "nat_base.htm", "nat_base.htm"));
static_assert(is_page(2, Def_Htm) && is_page(3, "nat_vs.htm"));
static_assert(is_page(12, StatusTab[0]) && is_page(13, StatusTab[1]) && is_page(8, StatusTab[2]));
static_assert(levels_exist());
static_assert(is_action(kDelay, "Delay") && is_action(kStopDiald, "KDiald") &&
              is_action(kStartDiald, "SDiald") && is_action(kSaveDiald, "SaDiald") &&
              is_action(kSavePPPOn, "SaPPPOn") && is_action(kRestartNet, "RSNet") &&
              is_action(kSaveSecret, "SaSecret") && is_action(kSaveTel, "SaTel") &&
              is_action(kSaveOptions, "SaOption") && is_action(kSaveAndRunVS, "SaVS") &&
              is_action(kReconfigFilter, "RCFilter") && is_action(kRunWANConnect, "RSNat") &&
              is_action(kSaveFilter, "SaFilter"));

}  // namespace

constinit const std::array<CgiPage, kPages> CgiTab = kCgiTab;
constinit const std::array<SaveGroup, kSaveGroups> save_tbl = kSaveTbl;
constinit const std::array<ProcEntry, ProcNum> ProcTab = kProcTab;

const char* status_page(int method) {
    return StatusTab[method == 1 || method == 2 ? static_cast<std::size_t>(method - 1) : 2];
}

int GetCgiTabIndex(const char* name) {
    for (int index = 0; name && index < kPages; ++index)
        if (is_page(index, name)) return index;
    return -1;
}

void get_cgi_range(const char* name, int& first, int& last, int& status) {
    first = 1;
    last = 0;
    status = 0;
    const int index = GetCgiTabIndex(name);
    for (const SaveGroup& group : save_tbl) {
        if (index < group.first || index > group.last) continue;
        first = group.first;
        last = group.last;
        return;
    }
    for (std::size_t i = 0; name && i < StatusTab.size(); ++i) {
        if (std::string_view(StatusTab[i]) != name) continue;
        first = 1;
        last = 4;
        status = static_cast<int>(i) + 1;
        return;
    }
}
