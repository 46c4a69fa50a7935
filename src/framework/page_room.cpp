#include "framework/page_room.h"

#include <sys/stat.h>

#include "base/format.h"

std::string_view lines_with_room(std::string_view text) {
    ListRoom room;
    std::size_t shown = 0;
    while (shown < text.size()) {
        const std::string_view rest = text.substr(shown);
        const std::string_view line =
            rest.substr(0, std::min(rest.find('\n'), rest.size() - 1) + 1);
        if (!room.take(line)) break;
        shown += line.size();
    }
    return text.substr(0, shown);
}

ValueText left_out(std::size_t shown, std::size_t total, std::string_view what) {
    if (shown >= total) return {};
    return std::string_view(format_text("The first %d of %d %s.", static_cast<long>(shown),
                                        static_cast<long>(total), what));
}

ValueText left_out_of_lines(std::size_t shown, std::size_t counted, std::string_view what) {
    if (counted <= kMostCounted) return left_out(shown, counted, what);
    return std::string_view(format_text("The first %d of more than %d %s.",
                                        static_cast<long>(shown), long{kMostCounted}, what));
}

std::size_t file_size(const char* path) {
    struct stat status {};
    return stat(path, &status) == 0 ? static_cast<std::size_t>(status.st_size) : 0;
}
