#include "entry/going_back.h"

#include <algorithm>
#include <optional>

#include "appliance/commands.h"
#include "appliance/links.h"
#include "base/failures.h"
#include "base/files.h"
#include "base/replacement.h"
#include "base/words.h"
#include "entry/page_table.h"

namespace {

struct Wanted {
    std::string path;
    std::optional<FileMark> mark;
    std::string content;
};
std::vector<Wanted> to_put_back;
Unqueued to_run_again;  // when they are back

bool put_back(const Wanted& file) {
    const Written written =
        file.mark ? replace_file(file.path, file.content, file.mark->mode) : remove_file(file.path);
    return written == Written::done;
}

bool remember(const Change& change, const KeptFile& file) {
    if (std::ranges::count(to_put_back, file.path, &Wanted::path)) return true;
    const std::optional<std::string> content = old_content(change, file);
    to_put_back.push_back({file.path, file.old, content.value_or("")});
    return content || !file.old;
}

bool have_run(std::span<const Change> changes, std::string_view program) {
    const auto names_it = [&](std::string_view line) {
        take_word(line, " ");  // its status
        return take_word(line, " ") == program;
    };
    return std::ranges::any_of(changes, [&](const Change& change) {
        return std::ranges::any_of(change.commands, names_it);
    });
}

}  // namespace

std::vector<Change> changes_from(unsigned number) {
    std::vector<Change> changes;
    for (const unsigned each : kept_changes())
        if (each >= number) changes.push_back(read_change(each));
    return changes;
}

bool remember_files_before(std::span<const Change> changes) {
    to_put_back.clear();
    to_run_again = unqueued_of(changes);
    for (const Change& change : changes)
        for (const KeptFile& file : change.files)
            if (!remember(change, file)) return false;
    return true;
}

int put_files_back() {
    const auto failed = [](const Wanted& file) { return !put_back(file); };
    return std::ranges::count_if(to_put_back, failed) > 0;  // no failure spares the files behind it
}

int PutBackAgain() {
    const int failed = put_files_back();
    run_unqueued(to_run_again);
    return failed;
}

std::vector<const ProcRow*> effects_of(std::span<const Change> changes) {
    std::vector<const ProcRow*> effects;
    for (unsigned level = 1; level < kLevels; ++level)
        for (const ProcRow& row : kProcRows) {
            const auto has_queued = [&](const Change& change) {
                return std::ranges::count(change.effects, row.name) > 0;
            };
            if (row.level == level && std::ranges::any_of(changes, has_queued))
                effects.push_back(&row);
        }
    return effects;
}

void run_effects(const std::vector<const ProcRow*>& effects) {
    for (const ProcRow* effect : effects) try {
            ProcTab[effect->action].body();
        } catch (const Unreadable&) {  // noted where it was thrown
        }
}

Unqueued unqueued_of(std::span<const Change> changes) {
    return {.link_up_script = have_run(changes, IPUPF), .dns_program = have_run(changes, SetDNSF)};
}

void run_unqueued(const Unqueued& unqueued) try {
    if (unqueued.dns_program) run_command(Command::set_dns);
    if (unqueued.link_up_script) Run_ip_up();
} catch (const Unreadable&) {  // noted where it was thrown
}
