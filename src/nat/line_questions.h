// Why is there no internet? A chain of questions along the line, from the switch of internet access
// to a host in the internet. It stops at the first "no", and says what that means and where it is
// mended. It reads settings, asks commands and sends a few packets, and changes nothing.
#pragma once

#include <string>
#include <string_view>
#include <vector>

enum class Verdict : unsigned char { not_asked, yes, no, unclear };

// A page where something is mended.
struct Place {
    std::string_view page;   // its file
    std::string_view title;  // what the menu calls it
};

struct Step {
    std::string_view question;
    std::string asked;     // the command, or the packet or file in words
    std::string answered;  // the line of the answer that counts
    Verdict verdict = Verdict::not_asked;
    std::string_view meaning;  // of a "no", and of what is unclear
    Place place{};             // where a "no" is mended
};

// The questions that concern the access method in force, each with its answer: at most two seconds
// each. What comes behind a "no", or when nobody waits for the answer any more (receiver.h), is not
// asked. A settings file that cannot be read throws Unreadable (files.h) behind the steps that were
// asked.
void ask_along_the_line(std::vector<Step>& steps);
