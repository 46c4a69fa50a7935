#include "framework/action_queue.h"

#include <new>

int AddProcToQueue(unsigned index, ProcHeads* heads, ProcFlags* queued, ProcTails* tails) {
    if (index >= ProcNum) return -1;
    if (!heads || !tails) return -2;
    if ((*queued)[index]) return 0;
    const ProcRow& row = kProcRows[index];
    std::unique_ptr<ProcNode> node(new (std::nothrow) ProcNode{row.name, row.action, nullptr});
    if (!node) return -3;
    (*queued)[index] = 1;
    ProcTail& tail = (*tails)[row.level];
    std::unique_ptr<ProcNode>& link = tail.count ? tail.last->next : (*heads)[row.level];
    link = std::move(node);
    tail.last = link.get();
    ++tail.count;
    return 0;
}
