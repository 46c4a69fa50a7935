#include "framework/html-lib.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include "base/io.h"

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

int answer_with_status(std::string_view status, std::string_view text) {
    const std::string_view words = status.substr(status.find(' ') + 1);
    put_all({"Status: ", status, "\n"});
    mime_header("text/html");
    html_begin(words, "");
    h1(words);
    h2(text);
    html_end();
    return 0;
}

void cgi_err(std::string_view title, std::string_view text) {
    mime_header("text/html");
    html_begin("Error!", "");
    h1(title);
    h2(text);
    html_end();
    std::fprintf(stderr, "%.*s\n", static_cast<int>(text.size()), text.data());
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
