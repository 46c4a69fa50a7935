#include "framework/message.h"

#include <array>
#include <cstdio>

#include "framework/answer.h"
#include "framework/html-lib.h"
#include "framework/parser.h"

int HtmlMsg(std::string_view text, std::string_view back_link, int outcome) {
    if (wants_data()) {
        answer_told(outcome ? "" : "404 Not Found", "message", text);
        return 0;
    }
    // Browsers have shown this page with its small slips for as long as it exists; they stay.
    const std::array<std::string_view, 12> HMsg = {
        "<html><head><title>Message",
        "</title></head><body background=yellowbg.gif><div align=center><center>",
        "<table border=0 cellspacing=0 bgcolor=#00ffff width=100% cellpadding=0>",
        "<tr><td><h3 align=center>",
        outcome ? "Successful" : "Failure",
        "</font></h3></td></tr></table><table><tr><td>",
        text,
        "</td></tr></table>",
        "<table><tr><td><table border=2 cellspacing=2 bgcolor=#cccccc<tr>",
        "<td align=center bordercolor=#cccccc><a href=",
        back_link,
        ">Back</a></td></tr></table></td></tr></table></center></div></body></html>",
    };
    mime_header("text/html");
    for (const std::string_view slot : HMsg) {
        put(slot);
        put("\n");
    }
    return std::ferror(stdout) ? -1 : 0;
}

int answer_with_status(std::string_view status, std::string_view text, std::string_view headline,
                       std::string_view header) {
    if (wants_data()) {
        answer_told(status, "message", text, header);
        return 0;
    }
    const std::string_view words = status.substr(status.find(' ') + 1);
    for (const std::string_view part :
         {std::string_view("Status: "), status, std::string_view("\n"), header})
        put(part);
    mime_header("text/html");
    notice_page(words, headline.empty() ? words : headline, text);
    return 0;
}

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

int get_update(const char* message, const FormList* form) {
    return render_page("update.htm", {}, {}, message, form);
}
