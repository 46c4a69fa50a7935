#include "filter/web_redirect.h"

#include "appliance/links.h"
#include "base/paths.h"
#include "base/replacement.h"
#include "filter/filterconf.h"
#include "filter/script_lines.h"

namespace {

constexpr char kTemporary[] = "/tmp/src.tmp";
// The services page, which edits other lines of this script, leaves 0744 (service_script.cpp).
constexpr mode_t kScriptMode = 0777;

// How the comment above the lines begins; how it goes on is the script's affair.
constexpr std::string_view kHeader = "# All web";
constexpr std::size_t kShortestLine = 3;  // with its line end; a shorter one ends the section

}  // namespace

int set_rc_service(int filter_state) {
    enum { before, inside, behind } place = before;
    const char mark = mark_of(filter_state != kFilterNever);
    const auto edit = [&](std::string_view line, Replacement& out) {
        if (place == inside && line.size() < kShortestLine) place = behind;
        out.write(place == inside ? marked(mark, line) : std::string(line));
        if (place == before && line.starts_with(kHeader)) place = inside;
    };
    const Written written = rewrite_lines(ServiceFile, kTemporary, kScriptMode, edit);
    if (written != Written::done) return 1;
    Run_ip_up();
    return 0;
}
