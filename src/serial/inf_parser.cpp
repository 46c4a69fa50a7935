#include "serial/inf_parser.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <deque>
#include <new>
#include <optional>
#include <vector>

#include "base/files.h"
#include "base/log.h"
#include "base/paths.h"
#include "base/replacement.h"
#include "base/words.h"
#include "framework/parser.h"
#include "framework/profile.h"
#include "framework/upload.h"
#include "serial/inf_file.h"

namespace {

constexpr int kLayers = 10;
constexpr std::size_t kRegistrySections = 10;
constexpr std::size_t kRegistryName = 29;
constexpr std::size_t kKeySize = 83;

constexpr std::array<const char*, 4> ErrMsg = {
    "Can not find [Manufacturer] section", "Find install section name failed",
    "Can not find [Strings] section", "Memory allocate failed"};

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

struct Manufacturer {
    std::optional<std::string_view> key;  // what stands for its name
    std::string_view models;              // the section of its models
};

int find_manufacturer(const InfFile& file, Manufacturer& found) {
    const std::optional<std::size_t> section = file.FindSection("Manufacturer");
    if (!section) return kNoManufacturer;
    std::string_view rest = file.behind(*section);
    while (const auto line = take_section_line(rest)) {
        const std::size_t first = line->find('%');
        const std::size_t second = first == line->npos ? first : line->find('%', first + 1);
        if (second == line->npos) continue;
        found.key = line->substr(first + 1, second - first - 1);
        const std::size_t equals = line->find('=', second);
        if (equals == line->npos) continue;
        found.models = without_trailing(without_leading_spaces(line->substr(equals + 1)), "\r\n ");
        return found.models.empty() ? kNoInstallSection : kInfDone;
    }
    // At the end of the description its models are looked for all the same, and none are found.
    return rest.empty() ? kInfDone : kNoInstallSection;
}

// A model by the key that stands for its display name.
struct Candidate {
    std::string_view key;
    std::string_view name;
};

// The candidates of the [Strings] section, one after the other.
class Candidates {
public:
    Candidates(std::string_view strings, const Manufacturer& maker)
        : rest_(strings), maker_(maker) {}

    std::optional<Candidate> next() {
        while (const auto line = take_section_line(rest_)) {
            // The maker's own name, and any key that begins like its key.
            if (maker_.key && line->starts_with(*maker_.key)) continue;
            const std::size_t equals = line->find('=');
            if (line->starts_with("ClassName") || equals == line->npos) continue;
            const std::size_t quote = line->find('"', equals);
            if (quote == line->npos) continue;
            const std::string_view key = without_trailing(line->substr(0, equals), " ");
            const std::string_view name = up_to(line->substr(quote + 1), "\"\r\n");
            if (!name.empty())
                return Candidate{key.substr(0, kKeySize), name.substr(0, InfModem::kNameSize)};
        }
        return std::nullopt;
    }

    // How many are left.
    [[nodiscard]] std::size_t number() const {
        std::size_t number = 0;
        for (Candidates left = *this; left.next();) ++number;
        return number;
    }

private:
    std::string_view rest_;
    const Manufacturer& maker_;
};

// A piece of an init string.
struct Layer {
    int number;
    std::string_view text;
};
using Layers = std::vector<Layer>;

// A later layer takes the place of an earlier one of its number.
void lay_over(Layers& layers, const Layer& layer) {
    const auto same = std::ranges::find(layers, layer.number, &Layer::number);
    if (same == layers.end())
        layers.push_back(layer);
    else
        *same = layer;
}

// Reads a line such as: HKR, Init, 1,, "AT&F<cr>"
void read_layer(std::string_view line, Layers& layers) {
    if (!take(line, "HKR,") || !take(line, "Init,")) return;
    line = without_leading_spaces(line);
    if (line.size() < 3 || line.substr(1, 2) != ",,") return;
    // One character, so of ten layers a description can name nine.
    const int layer = to_int(line.substr(0, 1));
    if (layer < 1) return log_line("INF file init string with wrong layer %d", long{layer});
    line.remove_prefix(3);
    if (take(line, "\""))
        lay_over(layers, {layer, up_to(line, "\"<\r\n").substr(0, InitText::capacity)});
}

// The layers as one command: only the first begins with AT.
InitText assembled(const Layers& layers) {
    InitText init;
    for (int number = 1; number <= kLayers; ++number) {
        const auto layer = std::ranges::find(layers, number, &Layer::number);
        if (layer == layers.end()) continue;
        const bool repeats = !init.empty() && StrCmpi(layer->text.substr(0, 2), "at") == 0;
        init.append(layer->text.substr(repeats ? 2 : 0));
    }
    return init;
}

// The init strings of install sections. Models share install sections, and those share the sections
// of registry lines, so each is read only once.
class InitStrings {
public:
    // The texts of the init strings go to `inits`.
    InitStrings(const InfFile& file, std::deque<InitText>& inits)
        : file_(file), inits_(inits), installs_(file.sections()), registries_(file.sections()) {}

    // Fills the init string. 0; 1 no such section, 2 no "AddReg" line in it, 3 one without a name,
    // 4 no init line in the sections that it names.
    int FindInitStr(std::string_view name, InfModem& model) {
        const std::optional<std::size_t> section = file_.FindSection(name);
        if (!section) return 1;
        const Install*& install = installs_[*section];
        if (!install) install = &read_installs_.emplace_back(read_install(file_.behind(*section)));
        model.Init = install->init;
        return install->result;
    }

private:
    struct Install {
        int result;
        const InitText* init = nullptr;
    };

    Install read_install(std::string_view section) {
        while (auto line = take_section_line(section)) {
            if (!take(*line, "AddReg") || line->find('=') == line->npos) continue;
            return read_registries(line->substr(line->find('=') + 1));
        }
        return {2};
    }

    Install read_registries(std::string_view names) {
        Layers layers;
        std::size_t named = 0;
        while (!names.empty() && named < kRegistrySections) {
            const std::string_view name = GetRealData(take_word(names, ",\r\n"));
            if (name.empty()) continue;
            ++named;
            for (const Layer& layer : registry(name.substr(0, kRegistryName)))
                lay_over(layers, layer);
        }
        if (named == 0) return {3};
        if (layers.empty()) return {4};
        return {0, &inits_.emplace_back(assembled(layers))};
    }

    const Layers& registry(std::string_view name) {
        static const Layers kNone;
        const std::optional<std::size_t> section = file_.FindSection(name);
        if (!section) return kNone;
        const Layers*& known = registries_[*section];
        if (!known) {
            Layers layers;
            std::string_view rest = file_.behind(*section);
            while (const auto line = take_section_line(rest)) read_layer(*line, layers);
            known = layers.empty() ? &kNone : &read_registries_.emplace_back(std::move(layers));
        }
        return *known;
    }

    const InfFile& file_;
    std::deque<InitText>& inits_;
    std::vector<const Install*> installs_;  // by their sections; null until read
    std::vector<const Layers*> registries_;
    std::deque<Install> read_installs_;
    std::deque<Layers> read_registries_;
};

// Takes the next line of a section, without the spaces before it.
std::optional<std::string_view> take_model_line(std::string_view& section) {
    std::optional<std::string_view> line = take_section_line(section);
    if (line) line = without_leading_spaces(*line);
    return line;
}

// The install section that a line of the models section names.
std::string_view install_of(std::string_view line, std::string_view key) {
    line.remove_prefix(key.size() + 2);
    return up_to(line.substr(std::min(line.find_first_not_of(" ="), line.size())), ",\r\n");
}

void find_inits(const InfFile& file, const NameIndex& by_key, Candidates candidates,
                InfModels& models) {
    models.list.reserve(candidates.number());
    InitStrings inits(file, models.inits);
    while (const auto candidate = candidates.next()) {
        const std::optional<std::size_t> line = by_key.find(candidate->key);
        if (!line) continue;
        InfModem model{candidate->name};
        if (inits.FindInitStr(install_of(by_key[*line], candidate->key), model) != 0) {
            log_line("Can not find init str of modem");
            log_line("%s", model.Name);
        }
        if (model.Init && !model.Init->empty()) models.list.push_back(model);
    }
}

// One sort for both orders.
void sort(std::vector<InfModem>& models, bool (*precedes)(const InfModem&, const InfModem&)) {
    std::ranges::sort(models, precedes);
}

bool have_one_name(const InfModem& a, const InfModem& b) { return a.Name == b.Name; }

// Of several models with one name keeps the last.
void drop_earlier_namesakes(std::vector<InfModem>& models) {
    sort(models, [](const InfModem& a, const InfModem& b) { return comes_before(b.Name, a.Name); });
    models.erase(std::unique(models.begin(), models.end(), have_one_name), models.end());
    sort(models,
         [](const InfModem& a, const InfModem& b) { return a.Name.data() < b.Name.data(); });
}

}  // namespace

int find_models(std::string_view description, InfModels& models) try {
    const InfFile file(description);
    Manufacturer maker;
    const int failed = find_manufacturer(file, maker);
    if (failed) return failed;
    const std::optional<std::size_t> strings = file.FindSection("Strings");
    if (!strings) return kNoStrings;
    const Candidates candidates(file.behind(*strings), maker);
    const std::optional<std::size_t> section = file.FindSection(maker.models);
    if (!section) {
        const std::size_t number = candidates.number();
        for (std::size_t i = 0; i < number; ++i)
            log_line("Can not find [%s] section\n", maker.models);
        return number == 0 ? kInfDone : kNoModels;
    }
    const NameIndex by_key('%', '%', file.behind(*section), take_model_line);
    find_inits(file, by_key, candidates, models);
    drop_earlier_namesakes(models.list);
    return kInfDone;
} catch (const std::bad_alloc&) {
    return kInfMemory;
}

int TxTo1ByteFile(const std::string& path) {
    std::optional<std::string> content = read_file(path);
    if (!content) return 1;
    // The byte-order mark of UTF-16 stays in front of the first line.
    if (std::erase(*content, '\0') == 0) return 0;
    return write_anew(path, *content) == Written::done ? 0 : 1;
}

int ParserInfFile(const char* path, int* count) try {
    if (!path || !count) return kInfNotRenamed;
    *count = 0;
    const std::optional<std::string> file = usable_upload(path);
    if (!file) return kNoManufacturer;
    int result = TxTo1ByteFile(*file);
    const std::optional<std::string> description = read_file(*file);
    if (!description) return kNoManufacturer;
    InfModels models;
    const int failed = find_models(*description, models);
    if (failed) result = failed;
    if (result >= kNoManufacturer && result <= kInfMemory)
        log_line("%s", ErrMsg[static_cast<std::size_t>(result - 1)]);
    if (result == kInfDone) result = AddInitStr(models.list, count);
    told(remove_file(*file));
    return result;
} catch (const Unreadable&) {
    return kNoManufacturer;
}
