#include "nat/line_questions.h"

#include <array>

#include "base/receiver.h"
#include "nat/line_beyond.h"
#include "nat/line_near.h"
#include "nat/line_step.h"

namespace {

// The methods that a question concerns, a bit each.
constexpr unsigned bit_of(WanMethod method) { return 1U << method; }
constexpr unsigned kEthernet = bit_of(kDirect) | bit_of(kPPPoE);
constexpr unsigned kDialled = bit_of(kPPPoE) | bit_of(kSerial);
constexpr unsigned kAll = kEthernet | kDialled;

struct Question {
    std::string_view text;
    unsigned methods;
    void (*ask)(Step& step);
};
constexpr std::array kQuestions = std::to_array<Question>({
    {"Is internet access switched on?", kAll, ask_sharing},
    {"Is an access method set up?", kAll, ask_method},
    {"Is the port there?", kAll, ask_port},
    {"Was the connection started?", kDialled, ask_daemon},
    {"Is the cable plugged in?", kEthernet, ask_cable},
    {"Has it an address?", kAll, ask_address},
    {"Do the routes lead to a gateway?", kAll, ask_routes},
    {"Does the gateway answer?", kAll, ask_gateway},
    {"Does a name server answer?", kAll, ask_name_servers},
    {"Does the internet answer?", kAll, ask_outside},
});

// Until the method is known every question may concern it.
bool concerns(const Question& question) {
    return line.method == kNoMethod || (question.methods & 1U << line.method) != 0;
}

}  // namespace

void ask_along_the_line(std::vector<Step>& steps) {
    line = {};
    bool goes_on = true;
    for (const Question& question : kQuestions) {
        if (!concerns(question)) continue;
        steps.emplace_back().question = question.text;
        if (!goes_on || !receiver_waits()) continue;
        question.ask(steps.back());
        goes_on = steps.back().verdict != Verdict::no;
    }
}
