// An ordered list with a limit, kept sorted by a comparison of the caller's. The form list is built
// on it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>
#include <vector>

// Orders two entries: below 0, 0 or above 0 as the first sorts before, equal to or after the
// second.
template <class T>
using Comparison = int (*)(const T&, const T&);

template <class T>
struct EntryList {
    std::size_t limit;  // most entries that it takes, 0 for no limit
    Comparison<T> compare;
    std::vector<T> nodes;  // in order
};

template <class T>
EntryList<T> CreateList(std::size_t limit, Comparison<T> compare) {
    return {limit, compare, {}};
}

template <class T>
auto sorts_before(const EntryList<T>& list) {
    return [&list](const T& a, const T& b) { return list.compare(a, b) < 0; };
}

// Puts `entry` behind all others, whatever their order: for many at once, with SortEntries() when
// all are there. Returns 1, or 0 when the limit is reached or memory runs out.
template <class T>
int AddEntry(EntryList<T>& list, T entry) {
    if (list.limit != 0 && list.nodes.size() >= list.limit) return 0;
    try {
        list.nodes.push_back(std::move(entry));
    } catch (const std::bad_alloc&) {
        return 0;
    }
    return 1;
}

// Puts the entries in order; those equal to each other stay in theirs.
template <class T>
void SortEntries(EntryList<T>& list) {
    std::stable_sort(list.nodes.begin(), list.nodes.end(), sorts_before(list));
}

// The first entry for which match(pattern, entry) holds, or null.
template <class T, class Pattern, class Matches>
const T* FindEntryData(const EntryList<T>& list, const Pattern& pattern, Matches match) {
    for (const T& entry : list.nodes)
        if (match(pattern, entry)) return &entry;
    return nullptr;
}

// The number of entries.
template <class T>
std::size_t GetCount(const EntryList<T>& list) {
    return list.nodes.size();
}

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

// Inserts `entry` in order, behind entries equal to it. The same results.
template <class T>
int InsertEntry(EntryList<T>& list, T entry) {
    if (!AddEntry(list, std::move(entry))) return 0;
    const auto last = list.nodes.end() - 1;
    std::rotate(std::upper_bound(list.nodes.begin(), last, *last, sorts_before(list)), last,
                list.nodes.end());
    return 1;
}

// Removes the first entry that matches; 1 if one was removed, else 0.
template <class T, class Pattern, class Matches>
int DeleteEntry(EntryList<T>& list, const Pattern& pattern, Matches match) {
    for (auto node = list.nodes.begin(); node != list.nodes.end(); ++node) {
        if (!match(pattern, *node)) continue;
        list.nodes.erase(node);
        return 1;
    }
    return 0;
}

// Calls `visit` with each entry, front to back.
template <class T, class Visit>
void TraverseList(const EntryList<T>& list, Visit visit) {
    for (const T& entry : list.nodes) visit(entry);
}
