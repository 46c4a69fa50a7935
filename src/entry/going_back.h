// Going back to how all files were before a change: what an undo, a change that nobody has kept in
// time and one that was interrupted have in common.
#pragma once

#include <span>
#include <vector>

#include "base/journal.h"
#include "framework/action_queue.h"

// The changes from a number on, in order.
std::vector<Change> changes_from(unsigned number);

// Remembers how each file was before the first of these changes that has replaced it. False when
// one of them cannot be read; nothing is to be put back then.
[[nodiscard]] bool remember_files_before(std::span<const Change> changes);

// Puts the remembered files in their places. 0, or 1 when one cannot be written.
int put_files_back();

// The last action of an undo: puts them back once more, which the actions before it may have
// written, and runs what applies to them (run_unqueued). The same results. (Action "PutBack".)
int PutBackAgain();

// What must run for the files that were put back: the actions that these changes have queued, each
// once, in the order of levels. The writers among them, those of level 0, have nothing to do.
std::vector<const ProcRow*> effects_of(std::span<const Change> changes);

// Runs them, whatever becomes of each.
void run_effects(const std::vector<const ProcRow*>& effects);

// What runs without a queue: setters run it themselves for what takes effect at once.
struct Unqueued {
    bool link_up_script = false;
    bool dns_program = false;
};
Unqueued unqueued_of(std::span<const Change> changes);
void run_unqueued(const Unqueued& unqueued);
