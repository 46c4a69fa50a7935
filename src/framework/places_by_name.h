// Where names stand: a page has two hundred markers, and its key table as many rows.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

class PlacesByName {
public:
    void clear() {
        first_.fill(kNone);
        entries_.clear();
        entries_.reserve(kUsual);
    }
    // Gives a name the next place; it must stand as long as the index does.
    void add(std::string_view name) {
        const std::size_t bucket = bucket_of(name);
        int& end = first_[bucket] == kNone ? first_[bucket] : entry(last_[bucket]).next;
        last_[bucket] = end = size();
        entries_.push_back({name, kNone});
    }
    [[nodiscard]] int size() const { return static_cast<int>(entries_.size()); }

    // The first place of a name that is not before `least`; -1: there is none.
    [[nodiscard]] int find(std::string_view name, int least = 0) const {
        int place = entries_.empty() ? kNone : first_[bucket_of(name)];
        while (place != kNone && (place < least || !std::ranges::equal(entry(place).name, name)))
            place = entry(place).next;
        return place;
    }

private:
    static constexpr int kNone = -1;
    static constexpr std::size_t kBuckets = 128;
    static constexpr std::size_t kUsual = 256;  // more than any shipped page has

    struct Entry {
        std::string_view name;
        int next;  // of the same bucket
    };
    [[nodiscard]] const Entry& entry(int place) const {
        return entries_[static_cast<std::size_t>(place)];
    }
    Entry& entry(int place) { return entries_[static_cast<std::size_t>(place)]; }

    // Names differ in their length, or in one of these characters.
    static std::size_t bucket_of(std::string_view name) {
        if (name.size() < 4) return name.size();
        const auto at = [&](std::size_t i) { return static_cast<unsigned char>(name[i]); };
        const std::size_t last = name.size() - 1;
        return (name.size() + at(3) * 2u + at(last / 2) * 3u + at(last - 2) * 5u + at(last) * 7u) %
               kBuckets;
    }

    std::array<int, kBuckets> first_;
    std::array<int, kBuckets> last_;
    std::vector<Entry> entries_;
};
