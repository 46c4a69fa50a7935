// Driver descriptions: the indexed reading finds what a plodding one finds that starts from the
// first line for every lookup. Input octets from 0x80 on stand for pieces of the grammar.
#include <algorithm>
#include <cstdlib>
#include <map>

#include "framework/parser.h"
#include "framework/profile.h"
#include "serial/inf_parser.h"

namespace {

constexpr std::string_view kPieces =
    "\n[Manufacturer]\n|%M%|=|S\n|\n[Strings]\n|A|B| |\"x\"\n|\"y|\n|\n[S]\n|%A%=I,|%B%|\n[I]\n|"
    "AddReg=R,|R|\n[R]\n|HKR,|Init,|1,,|2,,\"At|0,,|\"AT<cr>\"\n|9,,\"|]|%|[|,|\n;|\r\n";

using Pairs = std::vector<std::pair<std::string, std::string>>;

bool eat(std::string_view& text, std::string_view word) {
    while (text.starts_with(' ')) text.remove_prefix(1);
    const bool there = text.starts_with(word);
    if (there) text.remove_prefix(word.size());
    return there;
}

// The text without spaces at its front and without the characters at its end.
std::string trimmed(std::string_view text, const char* end) {
    eat(text, "");
    return std::string(text.substr(0, text.find_last_not_of(end) + 1));
}

struct Reading {
    std::string text, line;
    std::size_t at = 0;

    bool next() {
        line = text.substr(at, std::min<std::size_t>(274, text.find('\n', at) - at) + 1);
        at += line.size();
        return !line.empty();
    }
    bool find(const std::string& section) {
        for (at = 0; next();)
            if (line.starts_with("[" + section + "]")) return true;
        return false;
    }
    bool next_of_section() {
        while (next())
            if (line.find_first_of("\r\n;") != 0) return line[0] != '[';
        return false;
    }

    std::vector<std::string> registry_sections(const std::string& install) {
        std::vector<std::string> names;
        for (bool more = find(install); more && next_of_section();) {
            std::string_view rest = line;
            if (!eat(rest, "AddReg") || rest.find('=') == rest.npos) continue;
            rest.remove_prefix(rest.find('=') + 1);
            while (!rest.empty() && names.size() < 10) {
                const std::string name = trimmed(take_word(rest, ",\r\n"), " ");
                if (!name.empty()) names.push_back(name.substr(0, 29));
            }
            break;
        }
        return names;
    }

    std::string init(const std::string& install) {
        std::map<int, std::string> layers;
        for (const std::string& name : registry_sections(install))
            for (bool more = find(name); more && next_of_section();) {
                std::string_view rest = line;
                if (!eat(rest, "HKR,") || !eat(rest, "Init,") || !eat(rest, "")) continue;
                const int layer = to_int(rest.substr(0, 1));
                if (layer < 1 || rest.substr(1, 2) != ",,") continue;
                rest.remove_prefix(3);
                if (eat(rest, "\""))
                    layers[layer] = rest.substr(0, rest.find_first_of("\"<\r\n")).substr(0, 79);
            }
        std::string all;
        for (const auto& [layer, value] : layers) {
            const bool repeats = !all.empty() && value.size() > 1 && !StrniCmp(value, "AT", 2);
            all += value.substr(repeats ? 2 : 0);
        }
        return all.substr(0, 79);
    }
};

int plod(Reading in, Pairs& models) {
    std::string maker = "\n", section;  // no line begins so
    if (!in.find("Manufacturer")) return 1;
    for (bool done = false; !done;) {
        if (!in.next_of_section()) {
            if (!in.line.empty()) return 2;
            break;
        }
        std::string_view rest = in.line;
        const std::size_t first = rest.find('%'), second = rest.find('%', first + 1);
        if (first == rest.npos || second == rest.npos) continue;
        maker = rest.substr(first + 1, second - first - 1);
        done = rest.find('=', second) != rest.npos;
        if (done) section = trimmed(rest.substr(rest.find('=', second) + 1), "\r\n ");
        if (done && section.empty()) return 2;
    }
    if (!in.find("Strings")) return 3;
    Pairs keys;
    while (in.next_of_section()) {
        const std::string_view line = in.line;
        const std::size_t equals = line.find('='), quote = line.find('"', equals);
        if (line.starts_with(maker) || line.starts_with("ClassName") || quote == line.npos)
            continue;
        const std::size_t end = std::min(line.find_first_of("\"\r\n", quote + 1), line.size());
        const std::size_t key = line.substr(0, equals).find_last_not_of(' ') + 1;
        if (end > quote + 1)
            keys.emplace_back(line.substr(0, std::min<std::size_t>(key, 83)),
                              line.substr(quote + 1, std::min<std::size_t>(end - quote - 1, 79)));
    }
    int result = 0;
    for (const auto& [key, name] : keys) {
        bool found = in.find(section), matched = false;
        if (!found) result = 5;
        std::string_view rest;
        while (found && !matched && in.next_of_section())
            matched = eat(rest = in.line, "%" + key + "%");
        if (!matched) continue;
        rest.remove_prefix(std::min(rest.find_first_not_of(" ="), rest.size()));
        const std::string init = in.init(std::string(rest.substr(0, rest.find_first_of(",\r\n"))));
        if (init.empty()) continue;
        std::erase_if(models, [&, &same = name](const auto& model) { return model.first == same; });
        models.emplace_back(name, init);
    }
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    std::vector<std::string_view> pieces;
    for (std::string_view rest = kPieces; !rest.empty();) pieces.push_back(take_word(rest, "|"));
    std::string text;
    for (std::size_t i = 0; i < std::min<std::size_t>(size, 2000); ++i)
        text += data[i] >= 0x80 ? std::string(pieces[data[i] % pieces.size()])
                                : std::string(data[i] != 0, static_cast<char>(data[i]));
    Pairs expected, found;
    std::vector<InfModem> models;
    const int result = plod({text, "", 0}, expected);
    if (find_models(text, models) != result) std::abort();
    for (const InfModem& model : models) found.emplace_back(model.Name, model.Init);
    if (found != expected) std::abort();
    return 0;
}
