#include "base/difference.h"

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

#include "base/format.h"
#include "base/words.h"

namespace {

constexpr std::size_t kAround = 3;           // unchanged lines that are shown around a change
constexpr std::size_t kMostCells = 1 << 20;  // of the table of common lines

std::vector<std::string_view> lines_of(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        lines.push_back(text.substr(0, text.find('\n')));
        text.remove_prefix(std::min(lines.back().size() + 1, text.size()));
    }
    return lines;
}

struct Step {
    char kind;  // ' ' in both, '-' before alone, '+' after alone
    std::string_view line;
};
using Lines = std::span<const std::string_view>;

// The lengths of the longest common sequences of what is left of both, by where each begins.
std::vector<unsigned> common_lengths(Lines before, Lines after) {
    const std::size_t width = after.size() + 1;
    std::vector<unsigned> length((before.size() + 1) * width);
    for (std::size_t i = before.size(); i-- > 0;)
        for (std::size_t j = after.size(); j-- > 0;)
            length[i * width + j] = before[i] == after[j] ? length[(i + 1) * width + j + 1] + 1
                                                          : std::max(length[(i + 1) * width + j],
                                                                     length[i * width + j + 1]);
    return length;
}

void add_steps(Lines before, Lines after, std::vector<Step>& steps) {
    std::size_t i = 0;
    std::size_t j = 0;
    if (before.size() * after.size() <= kMostCells) {
        const std::vector<unsigned> length = common_lengths(before, after);
        const std::size_t width = after.size() + 1;
        while (i < before.size() && j < after.size()) {
            if (before[i] == after[j]) {
                steps.push_back({' ', before[i++]});
                ++j;
            } else if (length[(i + 1) * width + j] >= length[i * width + j + 1]) {
                steps.push_back({'-', before[i++]});
            } else {
                steps.push_back({'+', after[j++]});
            }
        }
    }
    while (i < before.size()) steps.push_back({'-', before[i++]});
    while (j < after.size()) steps.push_back({'+', after[j++]});
}

std::vector<Step> steps_of(Lines before, Lines after) {
    std::size_t head = 0;
    while (head < std::min(before.size(), after.size()) && before[head] == after[head]) ++head;
    std::size_t tail = 0;
    while (tail < std::min(before.size(), after.size()) - head &&
           before[before.size() - 1 - tail] == after[after.size() - 1 - tail])
        ++tail;
    std::vector<Step> steps;
    for (const std::string_view line : before.first(head)) steps.push_back({' ', line});
    add_steps(before.subspan(head, before.size() - head - tail),
              after.subspan(head, after.size() - head - tail), steps);
    for (const std::string_view line : before.last(tail)) steps.push_back({' ', line});
    return steps;
}

// Keys in order; of one that is there twice one value counts.
using Settings = std::vector<std::pair<std::string_view, std::string_view>>;
using Setting = Settings::value_type;

Settings by_key(Settings settings) {
    std::ranges::sort(settings);
    const auto same_key = [](const Setting& a, const Setting& b) { return a.first == b.first; };
    settings.erase(std::unique(settings.begin(), settings.end(), same_key), settings.end());
    return settings;
}

const std::string_view* value_of(const Settings& settings, std::string_view key) {
    const auto found = std::ranges::lower_bound(settings, key, {}, &Setting::first);
    return found != settings.end() && found->first == key ? &found->second : nullptr;
}

Settings settings_of(std::string_view text) {
    Settings settings;
    for (const std::string_view line : lines_of(text))
        if (const std::size_t equals = line.find('='); equals != line.npos && line[0] != '#')
            settings.emplace_back(line.substr(0, equals), line.substr(equals + 1));
    return by_key(std::move(settings));
}

// A name, blanks if any, and "=". A line of secrets may hold a "=" in its password.
bool begins_with_key(std::string_view line) {
    const auto is_name = [](char c) {
        return is_letter(c) || is_digit(c) || c == '_' || c == '-' || c == '.';
    };
    const auto end = std::ranges::find_if_not(line, is_name);
    line.remove_prefix(static_cast<std::size_t>(end - line.begin()));
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    return line.starts_with('=');
}

bool is_password(std::string_view key) {
    std::string lower(key);
    std::ranges::transform(lower, lower.begin(), lower_case);
    return lower.find("pass") != lower.npos || lower.find("pwd") != lower.npos;
}

}  // namespace

std::string unified_difference(std::string_view before, std::string_view after) {
    const std::vector<std::string_view> old_lines = lines_of(before);
    const std::vector<std::string_view> new_lines = lines_of(after);
    const std::vector<Step> steps = steps_of(old_lines, new_lines);
    const auto changes = [](const Step& step) { return step.kind != ' '; };
    std::string text;
    std::size_t shown = 0;  // steps
    std::size_t old_line = 1;
    std::size_t new_line = 1;
    for (auto change = std::ranges::find_if(steps, changes); change != steps.end();) {
        // A hunk ends where more unchanged lines follow than are shown around two changes.
        const auto at = static_cast<std::size_t>(change - steps.begin());
        const std::size_t first = std::max(shown, at - std::min(at, kAround));
        std::size_t last = at;
        for (std::size_t i = at; i < steps.size() && i <= last + 2 * kAround + 1; ++i)
            if (changes(steps[i])) last = i;
        const std::size_t end = std::min(last + kAround + 1, steps.size());
        for (; shown < first; ++shown) ++old_line, ++new_line;
        std::string lines;
        std::size_t old_count = 0;
        std::size_t new_count = 0;
        for (; shown < end; ++shown) {
            ((lines += steps[shown].kind) += steps[shown].line) += '\n';
            if (steps[shown].kind != '+') ++old_count;
            if (steps[shown].kind != '-') ++new_count;
        }
        text += format_text("@@ -%d,%d ", static_cast<long>(old_line - (old_count == 0)),
                            static_cast<long>(old_count));
        text += format_text("+%d,%d @@\n", static_cast<long>(new_line - (new_count == 0)),
                            static_cast<long>(new_count)) +
                lines;
        old_line += old_count;
        new_line += new_count;
        change =
            std::find_if(steps.begin() + static_cast<std::ptrdiff_t>(end), steps.end(), changes);
    }
    return text;
}

bool is_settings_text(std::string_view text) {
    return std::ranges::all_of(lines_of(text), [](std::string_view line) {
        return line.empty() || line[0] == '#' || line[0] == '[' || begins_with_key(line);
    });
}

std::string settings_difference(std::string_view before, std::string_view after) {
    const Settings old_settings = settings_of(before);
    const Settings new_settings = settings_of(after);
    Settings all = new_settings;
    all.insert(all.end(), old_settings.begin(), old_settings.end());
    std::string text;
    for (const auto& [key, value] : by_key(std::move(all))) {
        const std::string_view* was = value_of(old_settings, key);
        const std::string_view* is = value_of(new_settings, key);
        if (was && is && *was == *is) continue;
        if (is_password(key))
            text += format_text("%s: changed\n", key);
        else if (!is)
            text += format_text("%s: - %s\n", key, *was);
        else
            text += was ? format_text("%s: %s \u2192 %s\n", key, *was, *is)
                        : format_text("%s: %s\n", key, *is);
    }
    return text;
}
