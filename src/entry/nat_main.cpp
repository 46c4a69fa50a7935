// One request: decode the form, find the page, show it or run the post, exit.
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <optional>

#include "appliance/ppp_conf.h"
#include "base/escape.h"
#include "base/log.h"
#include "entry/page_table.h"
#include "entry/post_cgi.h"
#include "entry/request_guard.h"
#include "framework/cgi-lib.h"
#include "framework/html-lib.h"
#include "framework/message.h"
#include "framework/msgfile.h"
#include "framework/parser.h"

// What no page foresees ends the program. The library's own ways to the end would first name the
// exception and build its text, for which they bring a twentieth of the program's size along.
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

namespace {

// Scratch files have fixed names, so requests run one at a time: each holds a lock on the working
// directory until it ends. Daemons that it starts do not inherit the lock.
void wait_for_turn() {
    const int folder = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    int locked = -1;
    do locked = folder < 0 ? -1 : flock(folder, LOCK_EX);
    while (locked != 0 && folder >= 0 && errno == EINTR);
    if (locked != 0) cgi_err("Error!", "The working directory cannot be locked.");
}

int show(const char* name, const char* back_link, const FormList* form) {
    const int index = GetCgiTabIndex(name);
    if (index >= 0) return CgiTab[static_cast<std::size_t>(index)].getter(nullptr, form);
    // The link goes to a page that is a file of the folder, so it works whatever is wrong here.
    Message message;
    GetErrMsgByIndex(Msg::UnknownPage, message, escape_html(name));
    HtmlMsg(message, back_link, 0);
    return 0;
}

int show_plain(const PlainView& view, const FormList* form) try {
    return view.show(form);
} catch (const Unreadable&) {
    Message message;
    tell(*first_failure(), message);
    return answer_with_status("500 Internal Server Error", escape_html(message));
}

// A view shows what is in force and echoes no field: a link may carry any.
int view(const char* next_file) {
    const char* name = next_file ? next_file : Def_Htm;
    if (std::string_view(name) == "nat_status.htm") {
        int method = kNoMethod;
        gather([&] { method = Nat_Method(); });
        name = status_page(method);
    }
    return show(name, "nat_fs.htm", nullptr);
}

}  // namespace

int main() {
    static std::array<char, kPageSize + BUFSIZ> output;  // the answer leaves in one piece
    std::setvbuf(stdout, output.data(), _IOFBF, output.size());
    log_line("Enter MAIN");
    // A server that ignores its children would hide the commands' results. One that ends its
    // program, hangs up or reads no further would end it in the middle of a save; a handler,
    // because daemons would inherit an ignored signal.
    signal(SIGCHLD, SIG_DFL);
    for (const int ending : {SIGTERM, SIGHUP, SIGPIPE}) signal(ending, [](int) {});
    warn_no = 0;
    std::optional<FormList> form;
    if (!is_form_empty()) {
        if (is_foreign_post()) return refuse_request();
        form = cgi_input_parse();
    }
    const FormList* fields = form ? &*form : nullptr;
    const char* todo = find_val(fields, "todo");
    const char* next_file = find_val(fields, "next_file");
    // These read files that are replaced as a whole, and a long log may have a slow receiver.
    const PlainView* plain = !todo && next_file ? plain_view(next_file) : nullptr;
    if (plain) return show_plain(*plain, fields);
    wait_for_turn();  // now that the form is complete: a slow sender keeps nobody waiting
    if (!todo) return view(next_file);
    if (!comes_from_own_page()) return refuse_request();
    // The modem page imports an upload while it is rendered, so there is nothing to check or set.
    if (std::string_view(todo) == "upload" && !entry_with_control(*form))
        show("sp_port.htm", "sp_fs.htm", fields);
    else
        PostCgi(*form);
    return 0;
}
