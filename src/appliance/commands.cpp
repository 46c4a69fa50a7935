#include "appliance/commands.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>

#include "base/format.h"
#include "base/journal.h"
#include "base/overlay.h"
#include "base/replacement.h"

namespace {

std::string text_of(const CommandLine& line, std::string_view word) {
    std::string text(line.program);
    for (const std::string_view pattern : line.words)
        if (!pattern.empty()) (text += ' ') += pattern == "%s" ? word : pattern;
    return text;
}

bool is_only_noted(const std::string& text) {
    if (in_preview()) foresee_command(text);
    return in_preview();
}

}  // namespace

int run_command(Acting command, std::string_view word) {
    const CommandLine& line = row_of(command.name).line;
    const std::string text = text_of(line, word);
    if (is_only_noted(text)) return 0;
    flush_folders();
    const int status = run(line, word);
    keep_command(text, status);
    return status;
}

void start_command(Acting command) {
    const CommandLine& line = row_of(command.name).line;
    const std::string text = text_of(line, {});
    if (is_only_noted(text)) return;
    flush_folders();
    start(line, {});
    keep_command(text, 0);
}

bool send_signal(pid_t process, int signal) {
    constexpr int kFailed = 1 << 8;  // the status of a kill command that failed
    const std::string text =
        format_text("kill -%s %d", signal == SIGHUP ? "HUP" : "TERM", long{process});
    if (is_only_noted(text)) return kill(process, 0) == 0;
    const bool sent = kill(process, signal) == 0;
    keep_command(text, sent ? 0 : kFailed);
    return sent;
}

void wait_seconds(unsigned seconds) {
    if (!in_preview()) sleep(seconds);
}

void sync_disks() {
    if (!in_preview()) sync();
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

std::optional<Answer> probe_command(Asking command, std::string_view word) {
    return probe(row_of(command.name).line, word);
}

std::string command_text(Asking command, std::string_view word) {
    return text_of(row_of(command.name).line, word);
}
