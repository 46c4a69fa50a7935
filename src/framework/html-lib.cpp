#include "framework/html-lib.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include "base/escape.h"
#include "base/io.h"
#include "framework/answer.h"

namespace {

void put_all(std::initializer_list<std::string_view> texts) {
    for (const std::string_view text : texts) put(text);
}

void heading(std::string_view level, std::string_view text) {
    put_all({"<H", level, ">", text, "</H", level, ">\n"});
}

}  // namespace

void put(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); }

void mime_header(std::string_view type) { put_all({"Content-type: ", type, "\n\n"}); }

void put_page(std::span<iovec> pieces) {
    std::fflush(stdout);
    // Who hangs up has no use for what is left.
    static_cast<void>(write_all(STDOUT_FILENO, pieces));
}

void html_begin(std::string_view title, std::string_view body_attributes) {
    put_all({"<HTML>\n<HEAD>\n<TITLE>", title, "</TITLE>\n</HEAD>\n"});
    if (body_attributes.empty())
        put("<BODY>\n");
    else
        put_all({"<BODY ", body_attributes, ">\n"});
}

void html_end() { put("</BODY>\n</HTML>\n"); }

void h1(std::string_view text) { heading("1", text); }
void h2(std::string_view text) { heading("2", text); }

void notice_page(std::string_view title, std::string_view headline, std::string_view text) {
    put("<!DOCTYPE html>\n<HTML lang=\"en\">\n<HEAD>\n<META charset=\"utf-8\">\n"
        "<META name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        "<LINK rel=\"icon\" href=\"icon.svg\">\n<LINK rel=\"stylesheet\" href=\"style.css\">\n");
    put_all({"<TITLE>", escape_html(title), "</TITLE>\n</HEAD>\n<BODY>\n<MAIN>\n"});
    h1(escape_html(headline));
    h2(escape_html(text));
    put("<P><A href=\"nat.cgi?next_file=nat_base.htm\">Internet sharing</A></P>\n</MAIN>\n");
    html_end();
}

void cgi_err(std::string_view title, std::string_view text, std::string_view status) {
    if (wants_data()) {
        answer_told(status, "error", text.empty() ? title : text);
        std::exit(0);
    }
    mime_header("text/html");
    html_begin("Error!", "");
    h1(escape_html(title));
    h2(escape_html(text));
    html_end();
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fputc('\n', stderr);
    std::exit(0);
}

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

void h3(std::string_view text) { heading("3", text); }
void h4(std::string_view text) { heading("4", text); }
void h5(std::string_view text) { heading("5", text); }
void h6(std::string_view text) { heading("6", text); }

void hidden(std::string_view name, std::string_view value) {
    put_all({"<INPUT TYPE=hidden NAME=\"", name, "\" VALUE=\"", value, "\">\n"});
}

void location(std::string_view url) { put_all({"Location: ", url, "\n\n"}); }
