#include "nat/plain_views.h"

#include <algorithm>
#include <array>
#include <string>

#include "appliance/hosts.h"
#include "appliance/log_mask.h"
#include "base/files.h"
#include "base/format.h"
#include "base/json.h"
#include "base/paths.h"
#include "base/turn.h"
#include "filter/flt_log.h"
#include "framework/html-lib.h"
#include "framework/message.h"

namespace {

struct LogFile {
    std::string_view name;
    std::string (*path)();
};
constexpr std::array kLogFiles = std::to_array<LogFile>({
    {"pppd", [] { return std::string(PppdLogF); }},
    {"ppp0", [] { return std::string(Ppp0LogF); }},
    {"ppp1", [] { return std::string(Ppp1LogF); }},
    {"filter", filter_log_path},
});

void send_log(const LogFile& log) {
    constexpr std::size_t kPiece = 16384;
    LogMask mask(stored_passwords());
    LineReader in(log.path(), kPiece);
    bool has_more = in.is_open() && in.next();
    put("Content-Disposition: attachment; filename=");
    put(log.name);
    put(".log\n");
    mime_header("text/plain; charset=utf-8");
    try {
        for (; has_more; has_more = in.next()) put(mask.pass(in.piece()));
        put(mask.rest());
    } catch (const Unreadable&) {
        put(mask.rest());
        put("\n(The rest of the log cannot be read.)\n");
    }
}

}  // namespace

int show_log(const FormList* form) {
    const auto log = std::ranges::find(kLogFiles, field_text(form, "name"), &LogFile::name);
    if (log == kLogFiles.end())
        return answer_with_status("404 Not Found", "There is no log of that name.");
    send_log(*log);
    return 0;
}

int show_progress(const FormList*) {
    mime_header("application/json");
    const std::optional<Progress> other = progress();
    if (!other) {
        put("{\"busy\": null}\n");
        return 0;
    }
    const Request& request = other->request;
    std::string json = json_object({{"page", request.page},
                                    {"todo", request.todo},
                                    {"user", request.user},
                                    {"address", request.address}});
    json.pop_back();
    json += format_text(", \"seconds\": %d", other->seconds);
    json += ", \"command\": " + (other->command.empty() ? "null" : json_string(other->command));
    json += format_text(", \"command_seconds\": %d}", other->command_seconds);
    put("{\"busy\": " + json + "}\n");
    return 0;
}

int show_hosts(const FormList*) {
    std::string json = "[";
    for (const Host& host : known_hosts()) {
        if (json.size() > 1) json += ",\n ";
        json += json_object({{"address", host.address}, {"name", host.name}, {"mac", host.mac}});
    }
    mime_header("application/json");
    put(json.append("]\n"));
    return 0;
}
