#include "entry/recovery.h"

#include <algorithm>
#include <string>
#include <vector>

#include "base/date.h"
#include "base/failures.h"
#include "base/journal.h"
#include "entry/page_table.h"
#include "framework/msgfile.h"

namespace {

// The writers among the actions, those of level 0, have nothing to do: the files are back.
void run_effects(const std::vector<std::string>& names) {
    for (unsigned level = 1; level < kLevels; ++level)
        for (const std::string& name : names)
            for (const ProcRow& row : kProcRows)
                if (row.level == level && name == row.name) try {
                        ProcTab[row.action].body();
                    } catch (const Unreadable&) {  // noted where it was thrown
                    }
}

}  // namespace

bool take_back_half_made_change(Message& message) {
    const Change change = interrupted_change();
    const bool back = take_back_interrupted();
    if (back) run_effects(change.effects);
    if (!back || !take_back_interrupted()) {
        tell(*first_failure(), message);
        return false;
    }
    end_change();
    GetErrMsgByIndex(Msg::ChangeTakenBack, message, date_text(change.time));
    return true;
}
