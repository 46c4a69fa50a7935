// The script "/etc/rc.d/rc.ac_ctrl" that applies access control when a link comes up. For every
// group it has three blocks of lines between double quotes: G (the hosts), P (the allowed ports)
// and, behind it, B (the blocked ports).
#pragma once

#include <string_view>

enum class GroupBlock { hosts, ports };

// Rewrites a group's blocks from its list of hosts or ports (ac_lists.h; a port list has a mode)
// and runs the link-up scripts again. A script without all blocks that the list needs stays as it
// is. False when it cannot be read or rewritten, or does not know the group at all.
bool update_change(char group, GroupBlock block, std::string_view list);
