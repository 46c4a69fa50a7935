// The lists of access control, as the appliance settings keep them and as the script that applies
// them wants them. Items stand between commas. A port list begins with its mode and a comma; its
// items are ports N or ranges N-M. The items of a host list are addresses a.b.c.d, or ranges
// a.b.c.d-e of the last octet.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

// The mode of a port list: its ports are allowed, or blocked. A blank, which the first port of a
// new list brings along, counts as allowed.
inline constexpr char kAllowPorts = 'A';
inline constexpr char kBlockPorts = 'B';

// The items of a list that are not empty. port_items: of a port list, its mode left out.
std::vector<std::string_view> list_items(std::string_view items);
std::vector<std::string_view> port_items(std::string_view ports);

// ---- changes; each gives the new list ----

std::string with_mode(std::string_view ports, char mode);
// With an item added, a list of two or more is sorted (p_sort).
std::string with_port(std::string_view ports, std::string_view item);
// `network` is the item's "a.b.c.": from now on every host of the list lies in that network.
std::string with_host(std::string_view hosts, std::string_view item, std::string_view network);
// Without one entry for each of the items, the last of them first.
std::string without_ports(std::string_view ports, std::span<const char* const> items);
std::string without_hosts(std::string_view hosts, std::span<const char* const> items);

// A list of two or more items in ascending order, with neighbours and overlaps merged into ranges.
// A single 0 does not survive. `network` is empty for a port list.
std::string p_sort(std::string_view list, std::string_view network);

// ---- the lines of the script ----
// An item with a character that means something to a shell is left out, and so is an address with
// fewer than four parts.

// The allowed ports of a list: its items, or all ports but its items where they are blocked.
std::string w_port(std::string_view ports);
// The hosts of a list; ranges as the aligned blocks that hold exactly their hosts.
std::string w_ip(std::string_view hosts);
