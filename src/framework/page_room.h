// What a page has room for: its lists and logs stop where they would not fit any more, and the page
// says so.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

#include "framework/parser.h"

// What is left of the room for the marker that is being resolved.
class ListRoom {
public:
    // Takes the room for so many characters; false, and none is taken, when they do not fit.
    bool take(std::size_t characters) {
        if (characters > left_) return false;
        left_ -= characters;
        return true;
    }
    bool take(std::string_view text) { return take(size_on_page(text)); }

private:
    std::size_t left_ = room_on_page();
};

// The lines at the beginning of a text that a page has room for.
std::string_view lines_with_room(std::string_view text);

// Drops the first item that a page has no room for and all behind it. `size_of` tells what an item
// takes, in all lists that show a part of it: these stay parallel.
template <class Item, class SizeOf>
void drop_what_has_no_room(std::vector<Item>& items, SizeOf size_of) {
    ListRoom room;
    const auto dropped = std::find_if(items.begin(), items.end(),
                                      [&](const Item& item) { return !room.take(size_of(item)); });
    items.erase(dropped, items.end());
}

// What stands beside a list or log: "The first 213 of 247 records."; empty when all are shown.
ValueText left_out(std::size_t shown, std::size_t total, std::string_view what);

// Lines of a file are counted up to one more than this: the view of a log that has grown for years
// is to come at once. "The first 213 of more than 10000 records."
inline constexpr std::size_t kMostCounted = 10'000;
ValueText left_out_of_lines(std::size_t shown, std::size_t counted, std::string_view what);

// The octets of a file, 0 when there is none.
std::size_t file_size(const char* path);
