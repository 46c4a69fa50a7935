// Deferred actions. A page's setter that stores new settings queues by number what must be
// rewritten or restarted; the driver runs the queue once every setter has succeeded, by level and
// within a level in the order of queueing, and each action at most once a request.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>

#include "base/text.h"

enum Action : unsigned {
    kDelay,
    kStopDiald,
    kStartDiald,
    kSaveDiald,
    kSavePPPOn,
    kRestartNet,
    kSaveSecret,
    kSaveTel,
    kSaveOptions,
    kSaveAndRunVS,
    kReconfigFilter,
    kRunWANConnect,
    kSaveFilter,
    kPutBack,
    kRestore,
};

using ActionName = Text<12>;

// What the queue knows of an action: how messages name it, and when it runs. What it does, the
// driver knows (page_table.h).
struct ProcRow {
    Action action;
    const char* name;
    unsigned level;  // 0 to 5; lower levels run first
};
inline constexpr std::array kProcRows = std::to_array<ProcRow>({
    {kDelay, "Delay", 2},
    {kStopDiald, "KDiald", 1},
    {kStartDiald, "SDiald", 3},
    {kSaveDiald, "SaDiald", 0},
    {kSavePPPOn, "SaPPPOn", 0},
    {kRestartNet, "RSNet", 2},
    {kSaveSecret, "SaSecret", 0},
    {kSaveTel, "SaTel", 0},
    {kSaveOptions, "SaOption", 0},
    {kSaveAndRunVS, "SaVS", 4},
    {kReconfigFilter, "RCFilter", 2},
    {kRunWANConnect, "RSNat", 3},
    {kSaveFilter, "SaFilter", 0},
    {kPutBack, "PutBack", 5},
    {kRestore, "Restore", 5},
});
inline constexpr unsigned ProcNum = kProcRows.size();
inline constexpr std::size_t kLevels = 6;

// A table of actions has the row of each at its index.
template <class Row>
constexpr bool rows_are_in_order(const std::array<Row, ProcNum>& rows) {
    for (unsigned i = 0; i < ProcNum; ++i)
        if (rows[i].action != i) return false;
    return true;
}
static_assert(rows_are_in_order(kProcRows));
static_assert(std::ranges::all_of(kProcRows,
                                  [](const ProcRow& row) { return row.level < kLevels; }));

struct ProcNode {
    ActionName name;
    Action action;
    std::unique_ptr<ProcNode> next;
};

struct ProcTail {
    ProcNode* last = nullptr;
    unsigned count = 0;
};

using ProcHeads = std::array<std::unique_ptr<ProcNode>, kLevels>;
using ProcFlags = std::array<int, ProcNum>;  // 1 once the action has been queued
using ProcTails = std::array<ProcTail, kLevels>;

// Queues the action with that number. 0 queued, now or before; -1 there is none; -2 no heads or no
// tails; -3 no memory (it stays unqueued). Setters ignore the result.
int AddProcToQueue(unsigned index, ProcHeads* heads, ProcFlags* queued, ProcTails* tails);

// The queue as a setter gets it, in one piece for those to whom the setter hands it on.
struct Actions {
    ProcHeads* heads;
    ProcFlags* queued;
    ProcTails* tails;

    void add(Action action) const { AddProcToQueue(action, heads, queued, tails); }
};
