#include "framework/page_room.h"

#include <algorithm>

#include "base/escape.h"

std::string_view lines_with_room(std::string_view text) {
    ListRoom room;
    std::size_t shown = 0;
    while (shown < text.size()) {
        const std::string_view rest = text.substr(shown);
        const std::string_view line =
            rest.substr(0, std::min(rest.find('\n'), rest.size() - 1) + 1);
        if (!room.take(escaped_size(line))) break;
        shown += line.size();
    }
    return text.substr(0, shown);
}
