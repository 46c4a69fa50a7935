#include "appliance/log_mask.h"

#include <algorithm>
#include <utility>

#include "base/paths.h"
#include "base/words.h"
#include "framework/profile.h"

std::vector<std::string> stored_passwords() {
    struct Place {
        const char *file, *key;
    };
    std::vector<std::string> found;
    for (const auto& [file, key] : {Place{PppConfFile, "Password"}, {NatConfF, "pppoe_password"}}) {
        const auto password = setting<kProfileLine>(file, key, "");
        std::string secret(without_line_end(password));
        if (!secret.empty()) found.push_back(std::move(secret));
    }
    return found;
}

LogMask::LogMask(std::vector<std::string> secrets) : secrets_(std::move(secrets)) {
    for (const std::string& secret : secrets_) lookahead_ = std::max(lookahead_, secret.size() - 1);
}

std::string LogMask::pass(std::string_view part) {
    kept_ += part;
    return hand_out(kept_.size() - std::min(kept_.size(), lookahead_));
}

std::string LogMask::hand_out(std::size_t length) {
    constexpr std::string_view kMask = "??????";
    std::string shown;
    for (std::size_t at = 0; at < length; ++at) {
        const std::string_view ahead = std::string_view(kept_).substr(at);
        for (const std::string& secret : secrets_)
            if (ahead.starts_with(secret)) hidden_ = std::max(hidden_, secret.size());
        const bool is_secret = is_in_value(ahead.front()) || hidden_ > 0;
        if (!is_secret)
            shown += ahead.front();
        else if (!masking_)
            shown += kMask;
        masking_ = is_secret;
        if (hidden_ > 0) --hidden_;
    }
    kept_.erase(0, length);
    return shown;
}

// Whether the next character belongs to the value of a password="...".
bool LogMask::is_in_value(char c) {
    constexpr std::string_view kBefore = "password=\"";
    if (in_value_) {
        in_value_ = c != '\n' && (c != '"' || escaped_);
        escaped_ = c == '\\' && !escaped_;
        return in_value_;
    }
    matched_ = c == kBefore[matched_] ? matched_ + 1 : std::size_t{c == kBefore.front()};
    in_value_ = matched_ == kBefore.size();
    if (in_value_) matched_ = 0;
    return false;
}

std::string masked(std::string_view text) {
    LogMask mask(stored_passwords());
    std::string shown = mask.pass(text);
    return shown += mask.rest();
}
