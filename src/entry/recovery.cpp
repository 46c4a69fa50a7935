#include "entry/recovery.h"

#include <optional>
#include <string_view>
#include <vector>

#include "base/date.h"
#include "base/failures.h"
#include "base/format.h"
#include "base/journal.h"
#include "base/waiting.h"
#include "entry/going_back.h"
#include "framework/msgfile.h"

namespace {

bool is_over(const std::optional<Waiting>& waiting) {
    return waiting && waiting->milliseconds_left() == 0;
}

bool is_there(const std::vector<Change>& changes, unsigned number) {
    return !changes.empty() && changes.front().number == number;
}

bool take_back_half_made_change(Message& message) {
    const Change change = interrupted_change();
    const bool back = take_back_interrupted();
    if (back) run_effects(effects_of({&change, 1}));
    if (!back || !take_back_interrupted()) {
        tell(*first_failure(), message);
        return false;
    }
    run_unqueued(unqueued_of({&change, 1}));
    const std::string when = date_text(interrupted_change().time);
    end_change();
    GetErrMsgByIndex(Msg::ChangeTakenBack, message, when);
    return true;
}

// The names by which the journal knows actions.
std::vector<std::string_view> names_of(const std::vector<const ProcRow*>& effects) {
    std::vector<std::string_view> names;
    names.reserve(effects.size());
    for (const ProcRow* effect : effects) names.emplace_back(effect->name);
    return names;
}

// A change of its own, so that a crash in its midst is taken back and all begins anew. It belongs
// to the page and to whoever made the other one, on this condition.
bool take_back_unkept_change(const std::vector<Change>& changes) {
    const Change& unkept = changes.front();
    Request request = unkept.request;
    request.todo = "take_back";
    keep_changes_of(request, {});
    if (put_files_back() != 0) return false;
    const std::vector<const ProcRow*> effects = effects_of(changes);
    keep_effects(names_of(effects));
    run_effects(effects);
    if (PutBackAgain() != 0) return false;
    keep_result(format_text("taken back: nobody has kept change %u in time", long{unkept.number}));
    end_waiting_with_change();
    end_change();
    return !find_waiting();  // else the change could not be finished
}

bool take_back_unkept(unsigned number, Message& message) {
    const std::vector<Change> changes = changes_from(number);
    // One that is not there or cannot be read would stop all that is to come. A later one can only
    // be an attempt to take it back that was interrupted, perhaps before it could say what it is.
    if (!is_there(changes, number) || !remember_files_before(changes)) {
        GetErrMsgByIndex(Msg::NoSuchChange, message);
        return end_waiting();
    }
    if (!take_back_unkept_change(changes)) {
        tell(*first_failure(), message);
        return false;
    }
    GetErrMsgByIndex(Msg::ChangeNotKept, message, long{number});
    return true;
}

}  // namespace

bool must_recover() { return is_interrupted() || is_over(find_waiting()); }

bool recover(Message& message) {
    forget_waiting();  // whoever had the turn before may have kept it, or taken it back
    if (is_interrupted() && !take_back_half_made_change(message)) return false;
    const std::optional<Waiting> waiting = find_waiting();
    return !is_over(waiting) || take_back_unkept(waiting->number, message);
}
