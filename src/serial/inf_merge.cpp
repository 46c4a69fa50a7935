#include "serial/inf_merge.h"

#include <algorithm>
#include <string>
#include <vector>

#include "base/format.h"
#include "base/log.h"
#include "base/paths.h"
#include "base/replacement.h"
#include "framework/profile.h"
#include "serial/modem_list.h"

namespace {

class Merge {
public:
    explicit Merge(std::span<const InfModem> models) : models_(models) {
        by_name_.reserve(models.size());
        for (const InfModem& model : models) by_name_.push_back({&model});
        std::ranges::sort(by_name_, {}, &Target::name);
    }

    // Writes what takes the place of a line of the list.
    void line(std::string_view line, Replacement& out) {
        // An empty line of another system's editor goes; those that part the sections have none.
        if (line.starts_with('\r')) return;
        if (awaits_init_ && line.starts_with(InitKey)) return write_init(out);
        if (const std::optional<std::string_view> name = header_name(line)) {
            if (awaits_init_) write_init(out);
            Target* const target = find(*name);
            awaits_init_ = target ? target->model : nullptr;
            if (target) target->Done = true;
        }
        out.write(line);
    }

    // Writes what follows the last line.
    void end(Replacement& out) {
        if (awaits_init_) write_init(out);
        for (const InfModem& model : models_) {
            if (find(model.Name)->Done) continue;
            out.end_line();
            out.write(format_text("[%s]\n", model.Name) + init_line(model));
        }
    }

private:
    struct Target {
        const InfModem* model;
        bool Done = false;  // stands in the merged list
        [[nodiscard]] std::string_view name() const { return model->Name; }
    };

    Target* find(std::string_view name) {
        const auto found = std::ranges::lower_bound(by_name_, name, {}, &Target::name);
        return found != by_name_.end() && found->name() == name ? &*found : nullptr;
    }

    // Unlike the readers of the list this knows a header without a line feed too: it may be the
    // last line of a list that the administrator has edited.
    static std::optional<std::string_view> header_name(std::string_view line) {
        if (line.ends_with('\n')) line.remove_suffix(1);
        return section_name(line);
    }

    static std::string init_line(const InfModem& model) {
        // The empty line comes along each time, also where one follows already.
        return format_text("%s=%s\n\n", InitKey0, *model.Init);
    }

    void write_init(Replacement& out) {
        out.end_line();
        out.write(init_line(*awaits_init_));
        awaits_init_ = nullptr;
    }

    std::span<const InfModem> models_;
    std::vector<Target> by_name_;
    // The model whose section has not shown its init string yet.
    const InfModem* awaits_init_ = nullptr;
};

}  // namespace

int AddInitStr(std::span<const InfModem> models, int* count) {
    if (models.empty() || !count) return 1;
    *count = 0;
    const std::string temporary = ini_temporary();
    Merge merge(models);
    const Written written = rewrite_lines(
        ModemFile, temporary, Replacement::kKeepMode, IfMissing::fail,
        [&](std::string_view line, Replacement& out) { merge.line(line, out); },
        [&](Replacement& out) { merge.end(out); });
    if (written == Written::missing || written == Written::unreadable)
        log_line("Open %s  failed", ModemFile);
    if (written == Written::no_temporary) log_line("Open tmp file %s failed", temporary);
    if (written == Written::done) *count = static_cast<int>(models.size());
    return code_of(written, kModemListCodes);
}
