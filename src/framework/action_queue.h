// Deferred actions. A page's setter that stores new settings queues by number what must be
// rewritten or restarted; the driver runs the queue once every setter has succeeded, by level and
// within a level in the order of queueing, and each action at most once a request.
#pragma once

#include <array>
#include <cstddef>
#include <memory>

#include "base/text.h"

// The actions, in the order of their rows in ProcTab.
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
};
inline constexpr unsigned ProcNum = 13;
inline constexpr std::size_t kLevels = 6;

using ActionName = Text<12>;
using ActionBody = int (*)();  // 0 for success

struct ProcEntry {
    const char* name;
    unsigned level;  // 0 to 5; lower levels run first
    ActionBody body;
};

// Defined where every action is known (page_table.cpp).
extern const std::array<ProcEntry, ProcNum> ProcTab;

struct ProcNode {
    ActionName name;
    ActionBody body;
    std::unique_ptr<ProcNode> next;
};

struct ProcTail {
    ProcNode* last = nullptr;
    unsigned count = 0;
};

using ProcHeads = std::array<std::unique_ptr<ProcNode>, kLevels>;
using ProcFlags = std::array<int, ProcNum>;  // 1 once the row has been queued
using ProcTails = std::array<ProcTail, kLevels>;

// Queues row `index` of ProcTab. 0 queued, now or before; -1 no such row; -2 no heads or no tails;
// -3 no memory (the row stays unqueued). Setters ignore the result.
int AddProcToQueue(unsigned index, ProcHeads* heads, ProcFlags* queued, ProcTails* tails);
