#include "entry/post_cgi.h"

#include <algorithm>
#include <string>
#include <vector>

#include "appliance/commands.h"
#include "appliance/ppp_conf.h"
#include "base/date.h"
#include "base/escape.h"
#include "base/files.h"
#include "base/journal.h"
#include "base/json.h"
#include "base/log.h"
#include "base/replacement.h"
#include "base/words.h"
#include "entry/confirmation.h"
#include "entry/page_table.h"
#include "framework/action_queue.h"
#include "framework/answer.h"
#include "framework/html-lib.h"
#include "framework/msgfile.h"

namespace {

// The working state of one post.
class Post {
public:
    explicit Post(const FormList& form)
        : form_(&form),
          this_file_(find_val(form_, "this_file")),
          todo_(find_val(form_, "todo")),
          next_file_(find_val(form_, "next_file")) {
        log_line("  this_file=%s", or_null(this_file_));
        log_line("  action=%s", or_null(todo_));
        log_line("  next_file=%s", or_null(next_file_));
    }

    int run() {
        if (holds_control_character()) return show_refusal();
        if (std::string_view(todo_) == "confirm") return keep_change();
        if (const int refused = refusal_for_waiting(*form_, message_)) return show_wait(refused);
        if (is_stale()) return show_refusal_with("409 Conflict");
        const bool is_save = std::string_view(todo_) == "save";
        const bool accepted = is_save ? set_group() : set_page();
        const bool succeeded = accepted && run_actions();
        flush_folders();
        if (!accepted) return show_refusal();
        return succeeded ? show_next_page() : show_failed_action();
    }

private:
    // The page with that name; without one the fatal error page with message 10.
    const CgiPage& page(const char* name, const char* mark) {
        if (GetCgiTabIndex(name) < 0)
            GetErrMsgByIndex(Msg::UnknownPage, message_, name ? name : "");
        return page_or_message(name, mark);
    }

    // The same with the current message.
    const CgiPage& page_or_message(const char* name, const char* mark) {
        const int index = GetCgiTabIndex(name);
        if (index >= 0) return CgiTab[static_cast<std::size_t>(index)];
        log_line("CGI_ERR %s", mark);
        cgi_err("", message_, "404 Not Found");
    }

    // Keeps the change that waits, whatever page asks for it; a program needs to name none.
    int keep_change() {
        if (!this_file_) this_file_ = "history.htm";
        refusing_ = this_file_;
        return keep_waiting_change(*form_, message_) ? show_next_page() : show_refusal();
    }

    int show_wait(int refused) {
        refusing_ = this_file_;
        return refused == Msg::ChangeWaits ? show_refusal_with(kLocked) : show_refusal();
    }

    // A text that could break a line of a settings file never reaches a setter.
    bool holds_control_character() {
        const FormEntry* entry = entry_with_control(*form_);
        if (!entry) return false;
        refusing_ = this_file_;
        GetErrMsgByIndex(Msg::ControlCharacter, message_, field_label(entry->key));
        return true;
    }

    // True when what the form was filled from has changed since: by a save of the same group or
    // page, or for the pages that put all settings back, by any. Who sends the page again has seen
    // it.
    bool is_stale() {
        const char* seen = find_val(form_, "seen");
        if (!seen) return false;
        const auto last_seen = static_cast<unsigned>(to_long(seen));
        if (newest_change() <= last_seen) return false;
        for (const unsigned number : kept_changes()) {
            if (number <= last_seen) continue;
            const Change change = read_change(number);
            if (!is_in_force(change) || !concerns_page(change.request.page)) continue;
            refusing_ = this_file_;
            const Request& by = change.request;
            const std::string& who = by.user.empty() ? by.address : by.user;
            const std::string when = date_text(change.time);
            GetErrMsgByIndex(Msg::ChangedMeanwhile, message_, wants_data() ? who : escape_html(who),
                             when);
            JsonText members;
            members.member("who", who);
            members.member("when", when);
            post_outcome.members = members.take();
            return true;
        }
        return false;
    }

    static bool is_in_force(const Change& change) {
        return change.result == "accepted" || change.result.starts_with("taken back");
    }

    bool concerns_page(const std::string& changed) const {
        const std::string_view own = or_null(this_file_);
        if (changed == own || own == "history.htm" || own == "backup.htm") return true;
        int first = 0;
        int last = 0;
        int status = 0;
        get_cgi_range(this_file_, first, last, status);
        const int index = GetCgiTabIndex(changed.c_str());
        return index >= first && index <= last;
    }

    // Most refusals are answers like any other to a browser.
    int show_refusal_with(std::string_view status) {
        if (!wants_data())
            for (const std::string_view part : {std::string_view("Status: "), status, {"\n"}})
                put(part);
        return show_refusal(status);
    }

    // The name of a field as it may be shown: the sender chose it.
    static std::string field_label(std::string name) {
        const auto is_plain = [](char c) {
            return is_letter(c) || is_digit(c) || c == '_' || c == '-' || c == '.';
        };
        std::replace_if(
            name.begin(), name.end(), [&](char c) { return !is_plain(c); }, '?');
        return name;
    }

    // Calls a page's setter; a page that refuses will be shown, with a message. What the pages
    // before it have stored stays stored: that is what the check of all of them comes first for.
    bool call_setter(const CgiPage& page, Mode mode) {
        message_.clear();
        if (page.setter && accepts(page.setter, mode)) return true;
        refusing_ = page.name;
        if (!message_.empty()) return false;
        if (first_failure())
            tell(*first_failure(), message_);
        else
            GetErrMsgByIndex(mode == kCheck ? Msg::CheckRefused : Msg::SetRefused, message_,
                             page.name);
        return false;
    }

    bool accepts(PageSetter setter, Mode mode) try {
        return setter(form_, &heads_, &queued_, &tails_, mode, message_) == 0;
    } catch (const Unreadable&) {
        return false;
    }

    bool set_page() {
        const CgiPage& posting = page(this_file_, "CHK1");
        if (!call_setter(posting, kCheck) || !call_setter(posting, kSet)) return false;
        // These alone tell of their success.
        const std::string_view todo = todo_;
        if (todo == "import_file" || todo == "cancel" || todo == "undo" || todo == "apply")
            notice_ = message_.view();
        return true;
    }

    bool set_group() {
        int first = 0;
        int last = 0;
        get_cgi_range(this_file_, first, last, status_);
        log_line("  cgi start index=%d sotp=%d", first, last);  // spelled as logs have it
        const bool accepted = call_setters(first, last, kCheck) && call_setters(first, last, kSet);
        log_line("After setfun");
        return accepted;
    }

    bool call_setters(int first, int last, Mode mode) {
        for (int index = first; index <= last; ++index) {
            const CgiPage& member = CgiTab[static_cast<std::size_t>(index)];
            if (!member.setter) continue;
            if (mode == kSet) log_line("  SetVal %s", member.name);
            if (!call_setter(member, mode)) return false;
        }
        return true;
    }

    // Runs the queue; false at the first action that fails, with its message.
    bool run_actions() {
        std::vector<std::string_view> names;
        for (const auto& head : heads_)
            for (const ProcNode* node = head.get(); node; node = node->next.get())
                names.push_back(node->name);
        keep_effects(names);
        // What the commands read is on disk, should one of them take the appliance down.
        sync_disks();
        for (const auto& head : heads_)
            for (const ProcNode* node = head.get(); node; node = node->next.get())
                if (!run_action(*node)) return false;
        return true;
    }

    bool run_action(const ProcNode& node) {
        log_line("Process %s\n", node.name.view());
        const int result = result_of(ProcTab[node.action].body);
        if (result == 0) return true;
        log_line("Process return=%d", long{result});
        // The proxy may be off; it reads its settings when it starts.
        if (node.action == kReconfigFilter) {
            GetErrMsgByIndex(Msg::ProxyNotSignalled, notice_);
            return true;
        }
        GetErrMsgByIndex(Msg::ActionFailed, message_, node.name.view());
        return false;
    }

    static int result_of(ActionBody body) try { return body(); } catch (const Unreadable&) {
        return 1;
    }

    int show_failed_action() {
        keep_result("failed: " + std::string(message_.view()));
        post_outcome.status = "500 Internal Server Error";
        return page_or_message(this_file_, "CHK2").getter(message_.c_str(), form_);
    }

    int show_refusal(std::string_view status = kRefused) {
        log_line("return error");
        post_outcome.status = status;
        keep_result("refused: " + std::string(message_.view()));
        return page_or_message(refusing_, "CHK0").getter(message_.c_str(), form_);
    }

    int show_next_page() {
        keep_result("accepted");
        post_outcome.status = kAccepted;
        post_outcome.accepted = true;
        next_file_ = next_or_this();
        log_line("ret_html %s action=%s", or_null(next_file_), or_null(todo_));
        if (status_ != 0) follow_method();
        // The settings are stored as far as pages refuse; what failed besides is told here.
        if (first_failure()) tell(*first_failure(), notice_);
        const CgiPage& next = page(next_file_, "CHK3");
        return next.getter(notice_.empty() ? nullptr : notice_.c_str(), form_);
    }

    // A save from a status page ends on the status page of the method in force.
    void follow_method() {
        int method = kNoMethod;
        gather([&] { method = Nat_Method(); });
        if (method == 0 || method == status_) return;
        next_file_ = status_page(method);
        GetErrMsgByIndex(Msg::OtherMethodInForce, notice_);
    }

    const char* next_or_this() const { return next_file_ && *next_file_ ? next_file_ : this_file_; }

    const FormList* form_;
    const char* this_file_;
    const char* todo_;
    const char* next_file_;           // where to go when all is done
    const char* refusing_ = nullptr;  // the page that is shown when not
    int status_ = 0;                  // of a save from a status page: that page's method
    Message message_;                 // why the request was refused or failed
    Message notice_;                  // what the next page shows although everything succeeded
    ProcHeads heads_;
    ProcFlags queued_{};
    ProcTails tails_{};
};

}  // namespace

int PostCgi(const FormList& form) { return Post(form).run(); }
