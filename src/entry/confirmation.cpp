#include "entry/confirmation.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <string>

#include "appliance/lan.h"
#include "base/detach.h"
#include "base/failures.h"
#include "base/format.h"
#include "base/journal.h"
#include "base/kept_texts.h"
#include "base/overlay.h"
#include "base/turn.h"
#include "base/waiting.h"
#include "base/words.h"
#include "entry/recovery.h"
#include "framework/msgfile.h"

namespace {

// ---- the change that waits ----

bool is_undone = false;  // by this request

// That of another request. Whose folder is not there yet is still being made.
std::optional<Waiting> others_waiting() {
    const std::optional<Waiting> found = is_undone ? std::nullopt : find_waiting();
    return found && std::ranges::count(kept_changes(), found->number) ? found : std::nullopt;
}

int own_seconds = 0;

long waiting_seconds() {
    if (own_change_waits()) return own_seconds;
    const std::optional<Waiting> waiting = others_waiting();
    return waiting ? waiting->seconds_left() : 0;
}

std::string who(const Request& request) {
    return request.user.empty() ? request.address : request.user;
}

// ---- what a form wishes ----

// The seconds; nothing for what is no number or not within the bounds.
std::optional<int> seconds_of(std::string_view wish) {
    const bool is_number = wish.size() <= 3 && std::ranges::all_of(wish, is_digit);
    if (!is_number || !is_within(wish, kShortestWait, kLongestWait)) return std::nullopt;
    return to_int(wish);
}

// Empty: none.
std::string_view wish_of(const FormList& form) { return field_text(&form, "confirm_within"); }

bool is_undo_of(const FormList& form, unsigned number) {
    return field_is(&form, "this_file", "history.htm") && field_is(&form, "todo", "undo") &&
           to_long(field_text(&form, "change")) == long{number} && wish_of(form).empty();
}

// ---- the process that waits ----

// Where it comes from: the program reads its messages in the page folder, but a process that sleeps
// keeps no file system busy.
std::string working_folder;

void take_back_when_over(const Waiting& waiting) {
    signal(SIGTERM, SIG_DFL);  // while it sleeps it may be ended; the mark outlives it
    waiting.sleep_until_end();
    signal(SIGTERM, [](int) {});
    constexpr int kHour = 3600;
    Turn turn = Turn::not_in_time;
    const Request request = {.page = "history.htm", .todo = "take_back", .user = {}, .address = {}};
    forget_waiting();
    while (must_recover() && turn == Turn::not_in_time) turn = take_turn(request, kHour);
    Message message;  // nobody reads it; the history tells
    if (turn == Turn::taken && chdir(working_folder.c_str()) == 0) (void)recover(message);
}

// When the request ends: its answer does not wait for this.
void go_on_waiting() {
    if (!own_change_waits()) return;
    end_change();
    const std::optional<Waiting> waiting = find_waiting();
    leave_turn();
    forget_files();  // others may change them until then
    if (!waiting || !detach()) return;
    take_back_when_over(*waiting);
    end_change();
    _exit(0);
}

std::string current_folder() {
    std::array<char, 4096> path;
    return getcwd(path.data(), path.size()) ? path.data() : "/";
}

// ---- on every page ----

std::string number_text(long number) { return number ? std::to_string(number) : ""; }

std::string from_outside() try {
    const bool outside = is_outside_lan(std::string(cgi_variable("REMOTE_ADDR").value_or("")));
    return outside ? "checked" : "";
} catch (const Unreadable&) {  // noted where it was thrown
    return "";
}

constexpr std::array kKeys = std::to_array<CommonKey>({
    {"waiting", [] { return number_text(waiting_change()); }},
    {"waiting_left", [] { return waiting_change() ? std::to_string(waiting_seconds()) : ""; }},
    {"from_outside", from_outside},
});

}  // namespace

unsigned waiting_change() {
    if (own_change_waits()) return own_change();
    const std::optional<Waiting> waiting = others_waiting();
    return waiting ? waiting->number : 0;
}

int refusal_for_waiting(const FormList& form, Message& message) {
    const std::string_view wish = wish_of(form);
    if (!wish.empty() && !seconds_of(wish)) return refuse(Msg::BadWait, message);
    if (!wish.empty() && !keeps_changes()) return refuse(Msg::NothingIsKept, message);
    const unsigned number = waiting_change();
    if (number == 0 || is_undo_of(form, number)) return 0;
    GetErrMsgByIndex(Msg::ChangeWaits, message, long{number}, who(read_change(number).request),
                     waiting_seconds());
    return Msg::ChangeWaits;
}

void wait_if_wished(const FormList& form) {
    const auto seconds = seconds_of(wish_of(form));
    if (!seconds) return;
    own_seconds = *seconds;
    working_folder = current_folder();
    wait_after_change(*seconds);
    std::atexit(go_on_waiting);
}

bool keep_waiting_change(const FormList& form, Message& message) {
    const long number = to_long(field_text(&form, "change"));
    if (number == 0 || number != long{waiting_change()}) {
        GetErrMsgByIndex(Msg::NotWaiting, message, number);
        return false;
    }
    if (!in_preview() && !end_waiting()) {
        tell(*first_failure(), message);
        return false;
    }
    return true;
}

void end_waiting_by_undo() {
    if (waiting_change() == 0 || in_preview()) return;
    is_undone = true;
    end_waiting_with_change();
}

std::span<const CommonKey> confirmation_keys() { return kKeys; }
