#include "serial/inf_parser.h"

#include <algorithm>
#include <array>
#include <new>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "base/files.h"
#include "base/log.h"
#include "base/paths.h"
#include "base/words.h"
#include "framework/parser.h"
#include "framework/profile.h"
#include "framework/upload.h"

namespace {

constexpr std::size_t kLine = 275;  // characters that are read of a line at a time
constexpr std::size_t kLayers = 10;
constexpr std::size_t kRegistrySections = 10;
constexpr std::size_t kRegistryName = 29;
constexpr std::size_t kKeySize = 83;
constexpr std::size_t kInitSize = decltype(InfModem::Init)::capacity;

constexpr std::array<const char*, 4> ErrMsg = {
    "Can not find [Manufacturer] section", "Find install section name failed",
    "Can not find [Strings] section", "Memory allocate failed"};

std::string_view without_leading_spaces(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

// The text without the characters at its end that are in the set.
std::string_view without_trailing(std::string_view text, std::string_view set) {
    return text.substr(0, text.find_last_not_of(set) + 1);
}

// The text up to the first character of the set.
std::string_view up_to(std::string_view text, std::string_view set) {
    return text.substr(0, text.find_first_of(set));
}

std::string_view GetRealData(std::string_view text) {
    return without_trailing(without_leading_spaces(text), " ");
}

// Takes a word, and spaces before it, off the front of the text; false when it is not there.
bool take(std::string_view& text, std::string_view word) {
    const std::string_view rest = without_leading_spaces(text);
    if (!rest.starts_with(word)) return false;
    text = rest.substr(word.size());
    return true;
}

// Lines that begin with a name between two marks, "[name]" or "%name%", by that name. The name may
// hold the closing mark itself.
class NameIndex {
public:
    struct Line {
        std::string_view text;
        std::size_t number;
    };

    explicit NameIndex(char close) : close_(close) {}

    void add(const Line& line) {
        const std::string_view text = line.text;
        for (auto end = text.find(close_, 1); end != text.npos; end = text.find(close_, end + 1))
            first_.try_emplace(text.substr(1, end - 1), line);
    }

    // The first line with that name, or null.
    [[nodiscard]] const Line* find(std::string_view name) const {
        const auto found = first_.find(name);
        return found == first_.end() ? nullptr : &found->second;
    }

private:
    char close_;
    std::unordered_map<std::string_view, Line> first_;
};

struct Section {
    std::span<const std::string_view> lines;
    bool is_last;  // nothing follows it
};

// A description as lines, without comments and empty lines, and its sections by their names.
class InfFile {
public:
    explicit InfFile(std::string_view text) {
        while (!text.empty()) {
            const std::size_t length = std::min({text.find('\n'), kLine - 1, text.size() - 1}) + 1;
            const std::string_view line = text.substr(0, length);
            text.remove_prefix(length);
            if (line.front() == '\r' || line.front() == '\n' || line.front() == ';') continue;
            if (line.front() == '[') headers_.add({line, lines_.size()});
            lines_.push_back(line);
        }
    }

    // The lines behind the first header with that name, up to the next header.
    [[nodiscard]] std::optional<Section> FindSection(std::string_view name) const {
        const NameIndex::Line* header = headers_.find(name);
        if (!header) return std::nullopt;
        const auto rest = std::span(lines_).subspan(header->number + 1);
        const auto end =
            std::ranges::find_if(rest, [](std::string_view line) { return line.starts_with('['); });
        return Section{{rest.begin(), end}, end == rest.end()};
    }

private:
    std::vector<std::string_view> lines_;
    NameIndex headers_{']'};
};

struct Manufacturer {
    std::optional<std::string_view> key;  // what stands for its name
    std::string_view models;              // the section of its models
};

int find_manufacturer(const InfFile& file, Manufacturer& found) {
    const std::optional<Section> section = file.FindSection("Manufacturer");
    if (!section) return kNoManufacturer;
    for (const std::string_view line : section->lines) {
        const std::size_t first = line.find('%');
        const std::size_t second = first == line.npos ? first : line.find('%', first + 1);
        if (second == line.npos) continue;
        found.key = line.substr(first + 1, second - first - 1);
        const std::size_t equals = line.find('=', second);
        if (equals == line.npos) continue;
        found.models = without_trailing(without_leading_spaces(line.substr(equals + 1)), "\r\n ");
        return found.models.empty() ? kNoInstallSection : kInfDone;
    }
    return section->is_last ? kInfDone : kNoInstallSection;
}

// A model by the key that stands for its display name.
struct Candidate {
    std::string_view key;
    std::string_view name;
};

std::vector<Candidate> list_models(const Section& strings, const Manufacturer& maker) {
    std::vector<Candidate> models;
    for (const std::string_view line : strings.lines) {
        if (maker.key && line.starts_with(*maker.key)) continue;
        const std::size_t equals = line.find('=');
        if (line.starts_with("ClassName") || equals == line.npos) continue;
        const std::size_t quote = line.find('"', equals);
        if (quote == line.npos) continue;
        const std::string_view key = without_trailing(line.substr(0, equals), " ");
        const std::string_view name = up_to(line.substr(quote + 1), "\"\r\n");
        if (!name.empty()) models.push_back({key.substr(0, kKeySize), name});
    }
    return models;
}

// The init strings of install sections. Models share install sections, and those share the sections
// of registry lines, so each is read only once.
class InitStrings {
public:
    explicit InitStrings(const InfFile& file) : file_(file) {}

    // Fills the init string. 0; 1 no such section, 2 no "AddReg" line in it, 3 one without a name,
    // 4 no init line in the sections that it names.
    int FindInitStr(std::string_view install, InfModem& model) {
        const auto [place, is_new] = installs_.try_emplace(install);
        if (is_new) place->second.result = read_install(install, place->second.init);
        model.Init = place->second.init;
        return place->second.result;
    }

private:
    using Init = decltype(InfModem::Init);
    using Layers = std::array<std::optional<std::string_view>, kLayers>;

    struct Install {
        int result = 0;
        Init init;
    };

    int read_install(std::string_view install, Init& init) {
        const std::optional<Section> section = file_.FindSection(install);
        if (!section) return 1;
        const auto add_reg = std::ranges::find_if(section->lines, [](std::string_view line) {
            return take(line, "AddReg") && line.find('=') != line.npos;
        });
        if (add_reg == section->lines.end()) return 2;
        std::string_view names = add_reg->substr(add_reg->find('=') + 1);
        Layers layers;
        std::size_t named = 0;
        while (!names.empty() && named < kRegistrySections) {
            const std::string_view name = GetRealData(take_word(names, ",\r\n"));
            if (name.empty()) continue;
            ++named;
            lay_over(layers, registry(name.substr(0, kRegistryName)));
        }
        if (named == 0) return 3;
        init = assembled(layers);
        return std::ranges::any_of(layers, [](const auto& layer) { return layer.has_value(); }) ? 0
                                                                                                : 4;
    }

    const Layers& registry(std::string_view name) {
        const auto [place, is_new] = registries_.try_emplace(name);
        const std::optional<Section> section = is_new ? file_.FindSection(name) : std::nullopt;
        if (section)
            for (const std::string_view line : section->lines) read_layer(line, place->second);
        return place->second;
    }

    // Reads a line such as: HKR, Init, 1,, "AT&F<cr>"
    static void read_layer(std::string_view line, Layers& layers) {
        if (!take(line, "HKR,") || !take(line, "Init,")) return;
        line = without_leading_spaces(line);
        if (line.size() < 3 || line.substr(1, 2) != ",,") return;
        const int layer = to_int(line.substr(0, 1));
        if (layer < 1) return log_line("INF file init string with wrong layer %d", long{layer});
        line.remove_prefix(3);
        if (take(line, "\""))
            layers[static_cast<std::size_t>(layer - 1)] =
                up_to(line, "\"<\r\n").substr(0, kInitSize);
    }

    static void lay_over(Layers& layers, const Layers& above) {
        for (std::size_t i = 0; i < kLayers; ++i)
            if (above[i]) layers[i] = above[i];
    }

    // The layers as one command: only the first begins with AT.
    static Init assembled(const Layers& layers) {
        Init init;
        for (const auto& layer : layers) {
            const std::string_view text = layer.value_or("");
            const bool repeats = !init.empty() && StrCmpi(text.substr(0, 2), "at") == 0;
            init.append(text.substr(repeats ? 2 : 0));
        }
        return init;
    }

    const InfFile& file_;
    std::unordered_map<std::string_view, Install> installs_;
    std::unordered_map<std::string_view, Layers> registries_;
};

// The lines of the models section by their keys.
NameIndex index_models(const Section& section) {
    NameIndex by_key('%');
    for (const std::string_view line : section.lines) {
        const std::string_view text = without_leading_spaces(line);
        if (text.starts_with('%')) by_key.add({text, 0});
    }
    return by_key;
}

// The install section that a line of the models section names.
std::string_view install_of(std::string_view line, std::string_view key) {
    line.remove_prefix(key.size() + 2);
    return up_to(line.substr(std::min(line.find_first_not_of(" ="), line.size())), ",\r\n");
}

void find_inits(const InfFile& file, const Section& section,
                const std::vector<Candidate>& candidates, std::vector<InfModem>& models) {
    const NameIndex by_key = index_models(section);
    InitStrings inits(file);
    for (const Candidate& candidate : candidates) {
        const NameIndex::Line* line = by_key.find(candidate.key);
        if (!line) continue;
        InfModem model{candidate.name, {}};
        if (inits.FindInitStr(install_of(line->text, candidate.key), model) != 0) {
            log_line("Can not find init str of modem");
            log_line("%s", model.Name.view());
        }
        if (!model.Init.empty()) models.push_back(model);
    }
}

// Of several models with one name keeps the last.
void drop_earlier_namesakes(std::vector<InfModem>& models) {
    std::unordered_set<std::string_view> later;
    for (auto model = models.rbegin(); model != models.rend(); ++model)
        if (!later.insert(model->Name).second) model->Init.clear();
    std::erase_if(models, [](const InfModem& model) { return model.Init.empty(); });
}

}  // namespace

int find_models(std::string_view description, std::vector<InfModem>& models) try {
    const InfFile file(description);
    Manufacturer maker;
    const int failed = find_manufacturer(file, maker);
    if (failed) return failed;
    const std::optional<Section> strings = file.FindSection("Strings");
    if (!strings) return kNoStrings;
    const std::vector<Candidate> candidates = list_models(*strings, maker);
    const std::optional<Section> section = file.FindSection(maker.models);
    if (!section) {
        for (std::size_t i = 0; i < candidates.size(); ++i)
            log_line("Can not find [%s] section\n", maker.models);
        return candidates.empty() ? kInfDone : kNoModels;
    }
    find_inits(file, *section, candidates, models);
    drop_earlier_namesakes(models);
    return kInfDone;
} catch (const std::bad_alloc&) {
    return kInfMemory;
}

int TxTo1ByteFile(const std::string& path) {
    std::optional<std::string> content = read_file(path);
    if (!content) return 1;
    std::erase(*content, '\0');
    Replacement out(path, ini_temporary());
    out.write(*content);
    return code_of(out.install(), kModemListCodes);
}

int ParserInfFile(const char* path, int* count) try {
    if (!path || !count) return kInfNotRenamed;
    *count = 0;
    const std::optional<std::string> file = usable_upload(path);
    if (!file) return kNoManufacturer;
    int result = TxTo1ByteFile(*file);
    const std::optional<std::string> description = read_file(*file);
    if (!description) return kNoManufacturer;
    std::vector<InfModem> models;
    const int failed = find_models(*description, models);
    if (failed) result = failed;
    if (result >= kNoManufacturer && result <= kInfMemory)
        log_line("%s", ErrMsg[static_cast<std::size_t>(result - 1)]);
    if (result == kInfDone) result = AddInitStr(models, count);
    told(remove_file(*file));
    return result;
} catch (const Unreadable&) {
    return kNoManufacturer;
}
