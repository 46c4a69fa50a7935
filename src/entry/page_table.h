// The tables that know every page and every action.
#pragma once

#include <array>
#include <span>
#include <string_view>
#include <vector>

#include "framework/action_queue.h"
#include "framework/page.h"

// The actions that setters queue, each at its number.
using ActionBody = int (*)();  // 0 for success
struct ProcEntry {
    Action action;
    ActionBody body;
};
extern const std::array<ProcEntry, ProcNum> ProcTab;

// The pages. save_tbl and setters refer to rows by their index, so a new page comes last.
extern const std::span<const CgiPage> CgiTab;

// Views that are no pages. Each writes the whole answer; it throws Unreadable before it has begun.
struct PlainView {
    std::string_view name;
    int (*show)(const FormList* form);  // 0, the program's exit status
};

// The view of that name, or null.
const PlainView* plain_view(std::string_view name);
std::vector<std::string_view> plain_view_names();

// The page that a request without a form shows.
inline constexpr char Def_Htm[] = "nat_conn.htm";

// Pages that are saved together: first and last index into CgiTab.
struct SaveGroup {
    int first;
    int last;
};
extern const std::span<const SaveGroup> save_tbl;

// The status pages, each at the index of its WAN method less one.
inline constexpr std::array<const char*, 3> StatusTab = {"dc_status.htm", "ppp_status.htm",
                                                         "sp_status.htm"};

// The status page of a WAN method; that of the serial port for any method without one of its own.
const char* status_page(int method);

// The index of a page in CgiTab; -1 when there is none of that name (or no name).
int GetCgiTabIndex(const char* name);

// The rows whose setters a save from the page runs. `status` is 0, or for a status page its method:
// such a save runs the setters of the NAT pages. A page of no group and an unknown one have an
// empty range, first 1, last 0.
void get_cgi_range(const char* name, int& first, int& last, int& status);
