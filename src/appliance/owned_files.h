// The files that the settings of the appliance consist of, each named once for all who mean the
// whole: backup, restore and the factory's set. docs/files.md and the installation are compared
// with this table.
#pragma once

#include <sys/types.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "base/paths.h"
#include "base/words.h"

enum class Holds : unsigned char { settings, passwords, commands };

// The most that a file's mode may be.
constexpr mode_t most_mode(Holds holds) {
    switch (holds) {
        case Holds::passwords:
            return 0600;
        case Holds::commands:
            return 0755;
        default:
            return 0644;
    }
}

enum class Comes : bool { later, from_factory };

struct OwnedFile {
    // A "*" stands for the part of the name in which the files of a family differ.
    std::string_view path;
    Holds holds;
    Comes comes = Comes::from_factory;  // or later, made by this program
    bool has_hardware_address = false;  // which belongs to the appliance, not to its settings

    [[nodiscard]] constexpr bool is_family() const { return path.find('*') != path.npos; }
};

// In the order in which an archive has them. A file belongs to the first row that means it.
inline constexpr std::array kOwnedFiles = std::to_array<OwnedFile>({
    {QSCfgF, Holds::settings, Comes::from_factory, true},
    {DialdF, Holds::settings},
    {NatConfF, Holds::passwords},
    {ChapF, Holds::passwords},
    {IpDownF, Holds::commands},
    {IPUPF, Holds::commands},
    {ModemFile, Holds::settings},
    {PppConfFile, Holds::passwords, Comes::later},
    {OptionF, Holds::settings},
    {PapF, Holds::passwords},
    {PPPoeConfF, Holds::settings},
    {PPPOnF, Holds::commands},
    {DialerF, Holds::settings},
    {TelF, Holds::settings},
    {UserF, Holds::settings},
    {DisFirewallF, Holds::commands, Comes::later},
    {AccessControlF, Holds::commands},
    {FirewallF, Holds::commands},
    {VSF, Holds::commands, Comes::later},
    {ServiceFile, Holds::commands},
    {WanScriptF, Holds::commands},
    {DNSF, Holds::settings},
    {IfCfgEth0F, Holds::settings, Comes::from_factory, true},
    {IfCfgPpp0F, Holds::settings, Comes::later, true},
    {IfCfgAnyF, Holds::settings, Comes::later, true},
    {NetworkF, Holds::settings},
    {DefFilterF, Holds::settings},
    {FilterF, Holds::settings},
    {AllowListF, Holds::settings},
    {BanListF, Holds::settings},
    {AnyListF, Holds::settings, Comes::later},
    {FilterConfF, Holds::settings},
    {SquidConfF, Holds::settings},
});

// Whether a row means the file of that path.
constexpr bool means(const OwnedFile& row, std::string_view path) {
    constexpr std::size_t kLongestPart = 32;
    constexpr auto is_plain = [](char c) {
        return is_letter(c) || is_digit(c) || c == '.' || c == '_' || c == '-' || c == ':';
    };
    const std::size_t star = row.path.find('*');
    if (star == row.path.npos) return path == row.path;
    const std::string_view begin = row.path.substr(0, star);
    const std::string_view end = row.path.substr(star + 1);
    if (path.size() <= begin.size() + end.size()) return false;
    if (!path.starts_with(begin) || !path.ends_with(end)) return false;
    const std::string_view part =
        path.substr(begin.size(), path.size() - begin.size() - end.size());
    return part.size() <= kLongestPart && part.front() != '.' &&
           std::ranges::all_of(part, is_plain);
}

// The row of a path; null when the file is none of the settings.
constexpr const OwnedFile* owned_file(std::string_view path) {
    const auto row =
        std::ranges::find_if(kOwnedFiles, [&](const OwnedFile& each) { return means(each, path); });
    return row == kOwnedFiles.end() ? nullptr : &*row;
}
static_assert(std::ranges::all_of(kOwnedFiles, [](const OwnedFile& row) {
    return row.is_family() || owned_file(row.path) == &row;
}));
static_assert(!owned_file("/etc/passwd") && !owned_file("/etc/sysconfig/network-scripts/ifcfg-"));
