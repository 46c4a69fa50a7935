#include "filter/ac_script.h"

#include <algorithm>
#include <optional>
#include <string>

#include "appliance/links.h"
#include "base/files.h"
#include "base/paths.h"
#include "base/replacement.h"
#include "filter/ac_lists.h"

namespace {

constexpr char kWorkFile[] = "/tmp/u.tmp";
constexpr mode_t kScriptMode = 0755;

// The place behind the next line feed from `at` on; npos when there is none.
std::size_t next_line(std::string_view text, std::size_t at) {
    const std::size_t end = text.find('\n', at);
    return end == std::string_view::npos ? end : end + 1;
}

// The first line from `at` on that starts so; npos when there is none. `at` begins a line.
std::size_t find_line(std::string_view text, std::size_t at, std::string_view start) {
    while (at != std::string_view::npos && !text.substr(at).starts_with(start))
        at = next_line(text, at);
    return at;
}

// A script being rewritten from its top downwards.
class Blocks {
public:
    explicit Blocks(std::string script) : script_(std::move(script)) {}

    // Replaces the lines of the next block with that name; false when there is none that ends.
    bool set(char kind, char group, const std::string& lines) {
        const std::size_t opening = find_line(script_, at_, std::string{kind, group, '='});
        if (opening == std::string::npos) return false;
        const std::size_t first = next_line(script_, opening);
        const std::size_t closing = find_line(script_, first, "\"");
        if (closing == std::string::npos) return false;
        const std::string block = lines + "\"\n";
        const std::size_t behind = std::min(next_line(script_, closing), script_.size());
        script_.replace(first, behind - first, block);
        at_ = first + block.size();
        return true;
    }
    [[nodiscard]] const std::string& script() const { return script_; }

private:
    std::string script_;
    std::size_t at_ = 0;
};

}  // namespace

bool update_change(char group, GroupBlock block, std::string_view list) {
    const std::optional<std::string> script = read_file(AccessControlF);
    if (!script) return false;
    Blocks blocks(*script);
    if (block == GroupBlock::hosts) {
        if (!blocks.set('G', group, w_ip(list))) return false;
    } else {
        if (!blocks.set('P', group, w_port(list))) return false;
        std::string opposite(list);
        opposite.front() = list.starts_with(kBlockPorts) ? kAllowPorts : kBlockPorts;
        // Then P stays as it was, too: the two must not contradict each other.
        if (!blocks.set('B', group, w_port(opposite))) return true;
    }
    Replacement out(AccessControlF, kWorkFile, kScriptMode);
    out.write(blocks.script());
    if (out.install() != Written::done) return false;
    Run_ip_up();
    return true;
}
