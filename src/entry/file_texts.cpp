#include "entry/file_texts.h"

#include "base/difference.h"
#include "framework/answer.h"
#include "framework/page_room.h"

std::string difference_in_words(const std::optional<std::string>& before,
                                const std::optional<std::string>& after, bool is_secret) {
    const std::string old_text = before.value_or("");
    const std::string new_text = after.value_or("");
    const bool is_settings = is_settings_text(old_text) && is_settings_text(new_text);
    std::string text;
    if (is_settings) text = settings_difference(old_text, new_text);
    if (text.empty() && old_text != new_text)
        text = is_settings || is_secret ? "changed\n" : unified_difference(old_text, new_text);
    if (!before) text.insert(0, "(new)\n");
    if (!after) text.insert(0, "(removed)\n");
    return text.empty() ? "(mode)\n" : text;
}

std::string list_of_files(std::size_t number, std::string_view behind,
                          FileWords (*words_of)(std::size_t file)) {
    ListRoom room;
    std::string list;
    if (!room.take(behind)) return list;
    for (std::size_t file = 0; file < number; ++file) {
        const auto [path, words] = words_of(file);
        std::string part = path + "\n";
        (part += words) += "\n";
        if (!room.take(part)) {
            part = path + "\n(There is more than this page has room for.)\n\n";
            if (!room.take(part)) break;
        }
        list += part;
        if (wants_data()) list += '\0';  // between the items
    }
    return list;
}
