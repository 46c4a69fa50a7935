#include "filter/web_redirect.h"

#include "appliance/links.h"
#include "base/files.h"
#include "base/paths.h"
#include "filter/filterconf.h"

namespace {

constexpr char kTemporary[] = "/tmp/src.tmp";
constexpr mode_t kScriptMode = 0777;

constexpr std::string_view kHeader = "# All web";
constexpr std::size_t kShortestLine = 3;  // with its line end; a shorter one ends the section

}  // namespace

int set_rc_service(int filter_state) {
    enum { before, inside, behind } place = before;
    const char mark = filter_state == kFilterNever ? '#' : ' ';
    const Written written = rewrite_lines(ServiceFile, kTemporary, kScriptMode,
                                          [&](std::string_view line, Replacement& out) {
                                              if (place == inside && line.size() < kShortestLine)
                                                  place = behind;
                                              if (place == inside) {
                                                  out.write({&mark, 1});
                                                  line.remove_prefix(1);
                                              }
                                              if (place == before && line.starts_with(kHeader))
                                                  place = inside;
                                              out.write(line);
                                          });
    if (written != Written::done) return 1;
    Run_ip_up();
    return 0;
}
