// The merge of imported models into the modem list.
#include <string>
#include <unordered_map>

#include "base/files.h"
#include "base/format.h"
#include "base/log.h"
#include "base/paths.h"
#include "framework/profile.h"
#include "serial/inf_parser.h"
#include "serial/modem_list.h"

namespace {

class Merge {
public:
    explicit Merge(std::span<InfModem> models) : models_(models) {
        for (InfModem& model : models_) {
            model.Done = false;
            by_name_.emplace(model.Name, &model);
        }
    }

    // Writes what takes the place of a line of the list.
    void line(std::string_view line, Replacement& out) {
        if (line.starts_with('\r')) return;
        if (awaits_init_ && line.starts_with(InitKey)) return write_init(out);
        if (const std::optional<std::string_view> name = header_name(line)) {
            if (awaits_init_) write_init(out);
            const auto found = by_name_.find(*name);
            awaits_init_ = found == by_name_.end() ? nullptr : found->second;
            if (awaits_init_) awaits_init_->Done = true;
        }
        out.write(line);
    }

    // Writes what follows the last line.
    void end(Replacement& out) {
        if (awaits_init_) write_init(out);
        for (const InfModem& model : models_) {
            if (model.Done) continue;
            out.end_line();
            out.write(format_text("[%s]\n", model.Name) + init_line(model));
        }
    }

private:
    // Unlike the readers of the list this knows a header without a line feed too: it may be the
    // last line of a list that the administrator has edited.
    static std::optional<std::string_view> header_name(std::string_view line) {
        if (line.ends_with('\n')) line.remove_suffix(1);
        return section_name(line);
    }

    static std::string init_line(const InfModem& model) {
        return format_text("%s=%s\n\n", InitKey0, model.Init);
    }

    void write_init(Replacement& out) {
        out.end_line();
        out.write(init_line(*awaits_init_));
        awaits_init_ = nullptr;
    }

    std::span<InfModem> models_;
    std::unordered_map<std::string_view, InfModem*> by_name_;
    InfModem* awaits_init_ = nullptr;  // the model whose section has not shown its init string yet
};

}  // namespace

int AddInitStr(std::span<InfModem> models, int* count) {
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
