#include "framework/answer.h"

#include "base/json.h"
#include "base/text.h"
#include "base/words.h"
#include "framework/cgi-lib.h"
#include "framework/html-lib.h"

namespace {

constexpr int kMostQuality = 1000;

// The part before a separator, without the blanks around it; `text` is left what follows.
std::string_view take_part(std::string_view& text, char separator) {
    std::string_view part = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(part.size() + 1, text.size()));
    part.remove_prefix(std::min(part.find_first_not_of(" \t"), part.size()));
    return part.substr(0, part.find_last_not_of(" \t") + 1);
}

// Thousandths of "1", "0.5" or "0.125"; what is no quality counts as none.
int quality_of(std::string_view text) {
    if (text.empty() || text.size() > 5 || (text.size() > 1 && text[1] != '.')) return 0;
    if (text[0] == '1') return kMostQuality;
    int quality = 0;
    int place = kMostQuality / 10;
    for (const char digit : text.substr(std::min<std::size_t>(2, text.size()))) {
        if (!is_digit(digit)) return 0;
        quality += (digit - '0') * place;
        place /= 10;
    }
    return quality;
}

// How a header ranks a type: by the range that names it most exactly.
struct Rank {
    std::size_t exactness = 0;  // 0: no range names it
    int quality = 0;
    int place = 0;
};

void take_range(Rank& rank, std::string_view range, std::string_view type, const Rank& found) {
    const std::string_view family = type.substr(0, type.find('/') + 1);
    const bool names_family = range.size() == family.size() + 1 && range.ends_with('*') &&
                              StrniCmp(range, family, family.size()) == 0;
    const std::size_t exactness = StrCmpi(range, type) == 0 ? 3 : names_family ? 2 : range == "*/*";
    if (exactness <= rank.exactness) return;
    rank = found;
    rank.exactness = exactness;
}

}  // namespace

bool prefers_json(std::string_view accept) {
    Rank json;
    Rank html;
    for (int place = 0; !accept.empty(); ++place) {
        std::string_view entry = take_part(accept, ',');
        const std::string_view range = take_part(entry, ';');
        Rank found = {0, kMostQuality, place};
        while (!entry.empty()) {
            const std::string_view parameter = take_part(entry, ';');
            if (StrniCmp(parameter, "q=", 2) == 0) found.quality = quality_of(parameter.substr(2));
        }
        take_range(json, range, "application/json", found);
        take_range(html, range, "text/html", found);
    }
    if (json.exactness < 2 || json.quality == 0) return false;
    if (json.quality != html.quality) return json.quality > html.quality;
    return html.exactness < 2 || json.place < html.place;
}

bool wants_data() {
    static const bool wanted = prefers_json(cgi_variable("HTTP_ACCEPT").value_or(""));
    return wanted;
}

void answer_data(std::string_view status, std::string_view header, std::string_view json) {
    if (!status.empty())
        for (const std::string_view part : {std::string_view("Status: "), status, {"\n"}})
            put(part);
    put(header);
    // One address has an answer of each form, and both tell what is in force now.
    put("Vary: Accept\nCache-Control: no-store\n");
    mime_header("application/json");
    put(json);
    put("\n");
}

void answer_told(std::string_view status, std::string_view name, std::string_view text,
                 std::string_view header) {
    text = text.substr(0, text.find_last_not_of('\n') + 1);
    answer_data(status, header, json_object({{name, text}}));
}
