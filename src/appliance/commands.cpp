#include "appliance/commands.h"

#include <algorithm>

#include "base/files.h"
#include "base/journal.h"

namespace {

std::string text_of(const CommandLine& line, std::string_view word) {
    std::string text(line.program);
    for (const std::string_view pattern : line.words)
        if (!pattern.empty()) (text += ' ') += pattern == "%s" ? word : pattern;
    return text;
}

}  // namespace

int run_command(Acting command, std::string_view word) {
    const CommandLine& line = row_of(command.name).line;
    flush_folders();
    const int status = run(line, word);
    keep_command(text_of(line, word), status);
    return status;
}

void start_command(Acting command) {
    const CommandLine& line = row_of(command.name).line;
    flush_folders();
    start(line, {});
    keep_command(text_of(line, {}), 0);
}

std::optional<std::string> ask_command(Asking command, std::string_view word) {
    return ask(row_of(command.name).line, word);
}

std::optional<std::string> ask_line(Asking command, std::string_view word, std::size_t limit,
                                    std::string_view holding) {
    const std::optional<std::string> answer = ask_command(command, word);
    if (!answer) return std::nullopt;
    for (std::string_view rest = *answer; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        if (line.find(holding) != line.npos) return std::string(line.substr(0, limit));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    return "";
}
