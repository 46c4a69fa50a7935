#include "entry/page_table.h"

#include <algorithm>

#include "appliance/ppp_conf.h"
#include "entry/api.h"
#include "entry/backup.h"
#include "entry/going_back.h"
#include "entry/history.h"
#include "entry/preview.h"
#include "filter/ac_cfg.h"
#include "filter/filterconf.h"
#include "filter/flt_log.h"
#include "filter/nat_filter.h"
#include "filter/nat_sap.h"
#include "filter/site_pages.h"
#include "nat/diagnose.h"
#include "nat/dial_files.h"
#include "nat/nat_base.h"
#include "nat/nat_conn.h"
#include "nat/nat_vs.h"
#include "nat/plain_views.h"
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

constexpr std::array kCgiTab = std::to_array<CgiPage>({
    {"nat_base.htm", get_nat_base, nullptr, nat_base_tables},
    {"nat_sap.htm", get_sap, set_sap, nat_sap_tables},
    {"nat_conn.htm", get_nat_conn, set_nat_conn, nat_conn_tables},
    {"nat_vs.htm", get_vs, set_vs, nat_vs_tables},
    {"nat_filter.htm", get_nat_filter, set_nat_filter, nat_filter_tables},
    {"sp_base.htm", get_sp_base, nullptr, sp_base_tables},
    {"sp_port.htm", get_sp_port, set_sp_port, sp_port_tables},
    {"sp_int.htm", get_sp_int, set_sp_int, sp_int_tables},
    {"sp_status.htm", get_status, set_status, sp_status_tables},
    {"sites_allow.htm", get_sites_allow, set_sites_allow, sites_allow_tables},
    {"sites_ban.htm", get_sites_ban, set_sites_ban, sites_ban_tables},
    {"wan_dc.htm", get_wan_dc, set_wan_dc, wan_dc_tables},
    {"dc_status.htm", get_dc_status, set_dc_status, dc_status_tables},
    {"ppp_status.htm", get_ppp_status, set_ppp_status, ppp_status_tables},
    {"wan_ppp.htm", get_wan_ppp, set_wan_ppp, wan_ppp_tables},
    {"filterlog.htm", get_filterlog, set_filter_log, filterlog_tables},
    {"ac_cfg.htm", get_ac_cfg, set_ac_cfg, ac_cfg_tables},
    {"history.htm", get_history, set_history, history_tables},
    {"preview.htm", get_preview, nullptr, preview_tables},
    {"diagnose.htm", get_diagnose, nullptr, diagnose_tables},
    {"backup.htm", get_backup, set_backup, backup_tables},
});

constexpr std::array kPlainViews = std::to_array<PlainView>({
    {"log", show_log},
    {"hosts", show_hosts},
    {"progress", show_progress},
    {"group", show_group},
    {"api", show_api},
});

constexpr std::array kProcTab = std::to_array<ProcEntry>({
    {kDelay, Delay1},
    {kStopDiald, StopDiald},
    {kStartDiald, StartDiald},
    {kSaveDiald, SaveDiald},
    {kSavePPPOn, SavePPPOn},
    {kRestartNet, RestartNet},
    {kSaveSecret, SaveSecret},
    {kSaveTel, SaveTel},
    {kSaveOptions, SaveOptions},
    {kSaveAndRunVS, SaveAndRunVS},
    {kReconfigFilter, ProcReconfigFilter},
    {kRunWANConnect, RunWANConnect},
    {kSaveFilter, SaveFilter},
    {kPutBack, PutBackAgain},
    {kRestore, RestoreAgain},
});
static_assert(rows_are_in_order(kProcTab));

constexpr int index_of(std::string_view name) {
    for (std::size_t i = 0; i < kCgiTab.size(); ++i)
        if (name == kCgiTab[i].name) return static_cast<int>(i);
    return -1;
}

// A name that no page has does not build.
consteval SaveGroup group(std::string_view first, std::string_view last) {
    const SaveGroup found = {index_of(first), index_of(last)};
    if (found.first < 0 || found.last < found.first) throw "no group";
    return found;
}
consteval SaveGroup group(std::string_view page) { return group(page, page); }

constexpr SaveGroup kNatPages = group("nat_sap.htm", "nat_filter.htm");

constexpr std::array kSaveTbl = std::to_array<SaveGroup>({
    kNatPages,
    group("sp_port.htm", "sp_int.htm"),
    group("wan_dc.htm"),
    group("wan_ppp.htm"),
    group("sites_allow.htm"),
    group("sites_ban.htm"),
    group("nat_base.htm"),
});

// Pages whose setters answer other words than "save": a save from one of them stores nothing, or as
// a status page the pages of the NAT group.
constexpr std::array kNoGroup =
    std::to_array<std::string_view>({"sp_status.htm", "dc_status.htm", "ppp_status.htm",
                                     "filterlog.htm", "ac_cfg.htm", "history.htm", "backup.htm"});

constexpr bool is_saved_or_listed(int index) {
    const CgiPage& page = kCgiTab[static_cast<std::size_t>(index)];
    const bool saved = std::ranges::any_of(
        kSaveTbl, [&](const SaveGroup& each) { return each.first <= index && index <= each.last; });
    return !page.setter || saved != (std::ranges::count(kNoGroup, page.name) == 1);
}

constexpr bool pages_are_unique_and_saved() {
    for (int i = 0; i < static_cast<int>(kCgiTab.size()); ++i)
        if (index_of(kCgiTab[static_cast<std::size_t>(i)].name) != i || !is_saved_or_listed(i))
            return false;
    return true;
}
static_assert(pages_are_unique_and_saved());
static_assert(index_of(Def_Htm) >= 0 &&
              std::ranges::all_of(StatusTab, [](const char* name) { return index_of(name) >= 0; }));

}  // namespace

constinit const std::span<const CgiPage> CgiTab = kCgiTab;
constinit const std::span<const SaveGroup> save_tbl = kSaveTbl;
constinit const std::array<ProcEntry, ProcNum> ProcTab = kProcTab;

const char* status_page(int method) {
    const int page = method == kDirect || method == kPPPoE ? method : kSerial;
    return StatusTab[static_cast<std::size_t>(page - 1)];
}

const PlainView* plain_view(std::string_view name) {
    const auto found = std::ranges::find(kPlainViews, name, &PlainView::name);
    return found == kPlainViews.end() ? nullptr : &*found;
}

std::vector<std::string_view> plain_view_names() {
    std::vector<std::string_view> names;
    names.reserve(kPlainViews.size());
    for (const PlainView& view : kPlainViews) names.push_back(view.name);
    return names;
}

int GetCgiTabIndex(const char* name) { return name ? index_of(name) : -1; }

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
    // A status page has no settings of its own: its save is one of the NAT pages.
    for (std::size_t i = 0; name && i < StatusTab.size(); ++i) {
        if (std::string_view(StatusTab[i]) != name) continue;
        first = kNatPages.first;
        last = kNatPages.last;
        status = static_cast<int>(i) + 1;
        return;
    }
}
