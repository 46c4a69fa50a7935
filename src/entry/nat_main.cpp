// One request: decode the form, find the page, show it or run the post, exit.
#include <signal.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <optional>
#include <vector>

#include "appliance/ppp_conf.h"
#include "base/escape.h"
#include "base/journal.h"
#include "base/log.h"
#include "base/overlay.h"
#include "base/turn.h"
#include "entry/backup.h"
#include "entry/confirmation.h"
#include "entry/link_members.h"
#include "entry/page_table.h"
#include "entry/post_cgi.h"
#include "entry/preview.h"
#include "entry/recovery.h"
#include "entry/request_guard.h"
#include "framework/answer.h"
#include "framework/cgi-lib.h"
#include "framework/html-lib.h"
#include "framework/message.h"
#include "framework/msgfile.h"
#include "framework/parser.h"

// What no page foresees ends the program. The library's own ways to the end would first name the
// exception and build its text, for which they bring a twentieth of the program's size along.
// NOLINTBEGIN(cert-dcl50-cpp, cert-dcl58-cpp): their names and arguments are the library's
void __gnu_cxx::__verbose_terminate_handler() { std::abort(); }
namespace std {
void __throw_length_error(const char*) { abort(); }
void __throw_logic_error(const char*) { abort(); }
void __throw_out_of_range(const char*) { abort(); }
void __throw_out_of_range_fmt(const char*, ...) { abort(); }
void __throw_bad_alloc() { throw bad_alloc(); }
void __throw_bad_array_new_length() { throw bad_alloc(); }
void __throw_bad_function_call() { abort(); }
}  // namespace std
// NOLINTEND(cert-dcl50-cpp, cert-dcl58-cpp)

namespace {

constexpr int kTurnLimit = 20;  // seconds that a request waits for those before it

Request request_of(const FormList* form) {
    const auto variable = [](const char* name) {
        return std::string(cgi_variable(name).value_or(""));
    };
    const auto field = [&](const char* key) {
        const char* value = find_val(form, key);
        return std::string(value ? value : "");
    };
    return {field("this_file"), field("todo"), variable("REMOTE_USER"), variable("REMOTE_ADDR")};
}

// Somebody else's change takes long: whose it is, and what it waits for.
int answer_busy() {
    const Progress other = progress().value_or(Progress{.seconds = kTurnLimit});
    const std::string& user = other.request.user;
    const std::string who = user.empty() ? other.request.address : user;
    Message message;
    Message command;
    GetErrMsgByIndex(Msg::AnotherChange, message, other.seconds, who);
    if (!other.command.empty()) GetErrMsgByIndex(Msg::AnotherChangeRuns, command, other.command);
    return answer_with_status("503 Service Unavailable",
                              std::string(message.view()) + command.c_str(), "Please wait",
                              "Retry-After: 10\n");
}

int show(const char* name, const char* back_link, const FormList* form,
         const char* notice = nullptr) {
    const int index = GetCgiTabIndex(name);
    if (index >= 0) return CgiTab[static_cast<std::size_t>(index)].getter(notice, form);
    // The link goes to a page that is a file of the folder, so it works whatever is wrong here.
    Message message;
    GetErrMsgByIndex(Msg::UnknownPage, message, wants_data() ? name : escape_html(name));
    HtmlMsg(message, back_link, 0);
    return 0;
}

int show_plain(const PlainView& view, const FormList* form) try {
    return view.show(form);
} catch (const Unreadable&) {
    Message message;
    tell(*first_failure(), message);
    return answer_with_status("500 Internal Server Error", message);
}

// A server that ends its program, hangs up or reads no further would end it in the middle of a
// save. A handler, because daemons would inherit an ignored signal.
void finish_what_is_begun() {
    for (const int ending : {SIGTERM, SIGHUP, SIGPIPE}) signal(ending, [](int) {});
}

// A view shows what is in force and echoes no field: a link may carry any. The history alone is
// asked for one of its changes.
int view(const char* next_file, const FormList* form) {
    Message notice;
    // Without the turn the change is in progress, or is being taken back.
    if (must_recover() && take_turn({}, 0) == Turn::taken) {
        finish_what_is_begun();
        (void)recover(notice);
    }
    const char* name = next_file ? next_file : Def_Htm;
    if (std::string_view(name) == "nat_status.htm") {
        int method = kNoMethod;
        gather([&] { method = Nat_Method(); });
        name = status_page(method);
    }
    const bool is_history = std::string_view(name) == "history.htm";
    return show(name, "nat_fs.htm", is_history ? form : nullptr,
                notice.empty() ? nullptr : notice.c_str());
}

std::vector<std::string> names_of(const FormList& form) {
    std::vector<std::string> names;
    for (const FormEntry& field : form.nodes)
        if (names.empty() || names.back() != field.key) names.emplace_back(field.key);
    return names;
}

bool asks_for_backup(const FormList& form) {
    return field_is(&form, "this_file", "backup.htm") && field_is(&form, "todo", "backup");
}

// The modem page imports an upload while it is rendered, so there is nothing to check or set.
int act(const FormList& form) {
    if (asks_for_backup(form)) return in_preview() ? 0 : show_plain({"backup", send_backup}, &form);
    Message refusal;
    const bool imports = field_is(&form, "todo", "upload") && !entry_with_control(form) &&
                         refusal_for_waiting(form, refusal) == 0;
    if (!imports) return PostCgi(form);
    keep_result("accepted");
    post_outcome = {kAccepted, true};
    return show("sp_port.htm", "sp_fs.htm", &form);
}

}  // namespace

int main() {
    static std::array<char, kPageSize + BUFSIZ> output;  // the answer leaves in one piece
    std::setvbuf(stdout, output.data(), _IOFBF, output.size());
    log_line("Enter MAIN");
    warn_no = 0;
    know_on_every_page(confirmation_keys());
    std::optional<FormList> form;
    if (!is_form_empty()) {
        if (is_foreign_post()) return refuse_request();
        if (cgi_variable("CONTENT_LENGTH")) finish_what_is_begun();  // it comes slowly
        form = cgi_input_parse();
    }
    const FormList* fields = form ? &*form : nullptr;
    if (wants_data()) offer_link_members(fields);
    const char* todo = find_val(fields, "todo");
    const char* next_file = find_val(fields, "next_file");
    // These read files that are replaced as a whole, and a long log may have a slow receiver.
    const PlainView* plain = !todo && next_file ? plain_view(next_file) : nullptr;
    if (plain) return show_plain(*plain, fields);
    if (!todo) return view(next_file, fields);
    if (!comes_from_own_page()) return refuse_request();
    // Now that the form is complete: a slow sender keeps nobody waiting.
    finish_what_is_begun();
    const Request request = request_of(fields);
    const bool looks = field_is(fields, "preview", "yes");
    const Turn turn = take_turn(request, kTurnLimit, looks ? Purpose::look : Purpose::change);
    if (turn == Turn::not_in_time) return answer_busy();
    if (turn == Turn::cannot_lock) cgi_err("Error!", "The lock file cannot be locked.");
    if (keeps_changes()) {
        Message message;
        if (!recover(message)) cgi_err("Error!", message);
        if (!looks) {
            keep_changes_of(request, names_of(*form));
            wait_if_wished(*form);
        }
    }
    drop_old_archive();
    if (looks)
        show_preview(*form, act);
    else
        act(*form);
    return 0;
}
