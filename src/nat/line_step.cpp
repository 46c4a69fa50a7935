#include "nat/line_step.h"

#include <array>

#include "base/words.h"

namespace {

// Each at its number.
constexpr std::array kMethods = std::to_array<Method>({
    {"none", {}, {}, ""},
    {"direct connection",
     {"wan_dc.htm", "Direct connection"},
     {"dc_status.htm", "Status: direct connection"},
     ""},
    {"PPPoE", {"wan_ppp.htm", "PPPoE"}, {"ppp_status.htm", "Status: PPPoE"}, "adsl-connect"},
    {"modem", {"sp_int.htm", "Provider"}, {"sp_status.htm", "Status: modem"}, "diald"},
});

void answer(Step& step, Verdict verdict, std::string_view answered, std::string_view meaning = {}) {
    step.answered = answered;
    step.verdict = verdict;
    step.meaning = meaning;
}

}  // namespace

const Method& Line::way() const { return kMethods[method]; }

Answer probe_for(Step& step, Asking command, std::string_view word) {
    step.asked = command_text(command, word);
    return probe_command(command, word).value_or(Answer{"", -1});
}

void yes(Step& step, std::string_view answered) { answer(step, Verdict::yes, answered); }

void no(Step& step, std::string_view answered, std::string_view meaning, const Place& place) {
    answer(step, Verdict::no, answered, meaning);
    step.place = place;
}

void unclear(Step& step, std::string_view answered, std::string_view meaning) {
    answer(step, Verdict::unclear, answered, meaning);
}

std::string joined(std::initializer_list<std::string_view> texts) {
    std::string all;
    for (const std::string_view text : texts) all += text;
    return all;
}

std::string tidy(std::string_view text) {
    std::string words;
    for (std::string_view word = take_word(text); !word.empty(); word = take_word(text)) {
        if (!words.empty()) words += ' ';
        words += word;
    }
    return one_line(words);
}

std::string line_where(std::string_view text, Counts counts, std::string_view mark) {
    while (!text.empty())
        if (const std::string_view each = take_word(text, "\n"); counts(each, mark))
            return tidy(each);
    return "";
}

std::string line_with(std::string_view text, std::string_view mark) {
    return line_where(
        text,
        [](std::string_view each, std::string_view wanted) {
            return each.find(wanted) != each.npos;
        },
        mark);
}

std::string first_line(std::string_view text) {
    return line_where(
        text, [](std::string_view each, std::string_view) { return !first_word(each).empty(); });
}
