// What a page has room for: its lists and logs stop where they would not fit any more.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

// The characters that a page has room for in its lists or its log once they are escaped: with its
// template it stays below its limit (parser.h) whatever is listed.
inline constexpr std::size_t kListRoom = 36864;

// What is left of that room.
class ListRoom {
public:
    // Takes the room for so many characters; false, and none is taken, when they do not fit.
    bool take(std::size_t characters) {
        if (characters > left_) return false;
        left_ -= characters;
        return true;
    }

private:
    std::size_t left_ = kListRoom;
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
