// The special applications as they stand in the firewall script: a header line "#@NAME", rules that
// begin with a blank (active) or "#" (switched off), and an empty line. What stands between the
// records is not ours and stays as it is.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// What the rules of one direction let through. The numbers of several rules add up.
enum Protocol : int { kNoProtocol = 0, kUdp = 1, kTcp = 2, kOtherProtocol = 4 };

struct SapRules {
    int protocol = kNoProtocol;  // kUdp + kTcp for both
    std::string port1, port2;    // the range of the first rule that has one
};

struct SapItem {
    std::string name;
    bool enabled = false;
    SapRules in,
        out;  // kOtherProtocol in both: a kernel module or ping, which the page only switches
};

// The applications of a script, in its order. A header begins the next record even where the empty
// line before it is missing.
std::vector<SapItem> parse_firewall(std::string_view script);

// True for the applications that come with the appliance and cannot be deleted.
bool is_reserved(std::string_view name);

// The script with a record for a new application at its end.
std::string with_record(std::string_view script, const SapItem& item);

// The script without the record of that name. A record goes up to its empty line: one that lacks it
// takes the next record along, here and below.
std::string without_record(std::string_view script, std::string_view name);

// The script with the record of that name rewritten from `item`. Of a kernel module or ping only
// the switch changes; `module_line` gets the line that names the module and stays empty for others.
std::string with_record_updated(std::string_view script, const SapItem& item,
                                std::string& module_line);

// The script with every application switched off.
std::string with_records_off(std::string_view script);
