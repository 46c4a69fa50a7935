// Takes secrets out of a log before it leaves the appliance: pppd logs passwords when its option
// "debug" is on, chat what it sends.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// The passwords of the modem's account and of PPPoE, as stored; none that is empty. Throws
// Unreadable.
std::vector<std::string> stored_passwords();

// Puts "??????", as chat(8) does, in the place of
// - the value of each password="..." (pppd's PAP requests); without its closing quote it is taken
//   to end with the line,
// - each of the texts given as secrets, wherever it stands and whatever it overlaps with.
// A secret that the log spells in another way (a program's escapes) is not recognised. The text
// passes through in parts of any size; only the length of the longest secret is kept back.
class LogMask {
public:
    // None of the secrets may be empty.
    explicit LogMask(std::vector<std::string> secrets);
    // Takes the next part; returns what is known of it and of what was kept back.
    std::string pass(std::string_view part);
    // The end of the text.
    std::string rest() { return hand_out(kept_.size()); }

private:
    std::string hand_out(std::size_t length);
    bool is_in_value(char c);

    std::vector<std::string> secrets_;
    std::size_t lookahead_ = 0;  // so much must follow a character before it is handed out
    std::string kept_;
    std::size_t hidden_ = 0;   // so many of the next characters belong to a secret
    std::size_t matched_ = 0;  // so many characters of the words before a value have just passed
    bool in_value_ = false;
    bool escaped_ = false;
    bool masking_ = false;
};

// A whole text without the stored passwords, as LogMask does. Throws Unreadable.
std::string masked(std::string_view text);
