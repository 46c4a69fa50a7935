// The diagnosis page tells an administrator why there is no internet. It is a view, so another site
// can have it asked for; each time costs some seconds of waiting and a few packets.
#include "nat/diagnose.h"

#include <algorithm>
#include <string>
#include <vector>

#include "base/receiver.h"
#include "nat/line_questions.h"

namespace {

constexpr char kPage[] = "diagnose.htm";

std::vector<Step> steps;

constexpr std::array<std::string_view, 4> kVerdicts = {"not asked", "yes", "no", "unclear"};

std::string_view word_of(Verdict verdict) { return kVerdicts[static_cast<std::size_t>(verdict)]; }

// The step that ended the chain with a "no", or null.
const Step* broken_step() {
    const auto found = std::ranges::find(steps, Verdict::no, &Step::verdict);
    return found == steps.end() ? nullptr : &*found;
}

bool is_whole() { return !steps.empty() && steps.back().verdict == Verdict::yes; }

int get_steps(LongText& text, int&) {
    text.emplace();
    for (const Step& step : steps) {
        *text += "<tr>\n";
        for (const std::string_view cell :
             {step.question, std::string_view(step.asked), std::string_view(step.answered),
              word_of(step.verdict), step.meaning, step.place.page})
            ((*text += "<td nowrap>") += cell) += "</td>\n";
        *text += "</tr>\n";
    }
    return 0;
}

int get_verdict(ValueText& value, LongText&, int&) {
    return show(value, is_whole() ? "good" : "bad");
}

int get_meaning(ValueText&, LongText& text, int&) {
    const Step* broken = broken_step();
    text = broken ? broken->meaning
           : is_whole()
               ? "The internet answers this appliance. What a computer of the LAN does not "
                 "reach may be kept from it by access control or the web filter."
               : "The questions were not all asked.";
    return 0;
}

template <std::string_view Place::*Part>
int get_place(ValueText& value, LongText&, int&) {
    const Step* broken = broken_step();
    return show(value, broken ? broken->place.*Part : "");
}

constexpr std::array key_fun_tab = std::to_array<KeyFun<NoRecord>>({
    {"diagnose_verdict", get_verdict, nullptr},
    {"diagnose_meaning", get_meaning, nullptr},
    {"diagnose_page", get_place<&Place::page>, nullptr},
    {"diagnose_title", get_place<&Place::title>, nullptr},
});

constexpr std::array array_fun_tab = std::to_array<ArrayFun>({
    {"diagnose_steps", get_steps, Shape::rows},
});

}  // namespace

PageTables diagnose_tables() { return {rows_of(key_fun_tab), array_fun_tab}; }

int get_diagnose(const char* message, const FormList* form) {
    // A request that acts has others wait for its end, and its answer may need another head.
    const bool is_view = !find_val(form, "todo");
    if (is_view) watch_receiver();
    if (is_view) gather([] { ask_along_the_line(steps); });
    return render_page(kPage, diagnose_tables(), message, form);
}
