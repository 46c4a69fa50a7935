// The modem list, "/etc/ppp/modem.ini": a section for every modem, headed by its name in square
// brackets, with the line "InitString=" that holds its initialisation string. The modem "Other" is
// the administrator's own.
#pragma once

#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "appliance/ppp_conf.h"
#include "base/files.h"
#include "base/paths.h"

inline constexpr char InitKey[] = "InitString=";
inline constexpr char InitKey0[] = "InitString";
inline constexpr char kOtherModem[] = "Other";

// The list that an appliance without one gets.
inline constexpr std::string_view kNewModemList =
    "[_Standard Modem]\nInitString=AT&F\n\n[Other]\nInitString=AT&FM0\n\n";

struct Modem {
    SettingText name;
    SettingText init;
};
using ModemList = std::vector<Modem>;

// How init strings are read: as they stand, or for a string of a script, where a backslash is
// written twice (one that would be torn at the end is left out).
enum class InitMode { plain, script };

// The modems of an open file, in its order. A section without an init string that another one
// follows has "AT&F". A header needs a line feed behind it.
ModemList GetModemList0(LineReader& file, InitMode mode);

// The modems of the list; empty when it has no section. Without a list the two modems of a new one,
// which is then written.
ModemList GetModemList(InitMode mode);

// The name in a section header, a line without its line feed; nothing when it is another line.
std::optional<std::string_view> section_name(std::string_view line);

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

// Copies a modem's init string. 0; 1 the list cannot be opened, 2 the modem has no init string
// before the next section, 3 no such modem, or the list ends without its init string.
int get_init_by_modem(std::span<char> out, std::string_view name);
