// The answers that are not pages of the page table.
#pragma once

#include <string_view>

#include "framework/cgi-lib.h"

// The message page: the outcome ("Successful" for a nonzero flag, else "Failure"), a text and a
// link back, behind the HTTP header. Nothing is escaped. Returns 0, or -1 when writing failed.
int HtmlMsg(std::string_view text, std::string_view back_link, int outcome);

// The whole answer to a request that gets a status of its own, such as "404 Not Found": `header`
// (further header lines, each with its line feed) and a notice page (html-lib.h) of the status's
// words, with `headline` for its heading, or these words, when it is empty. Escapes both texts.
// 0, the program's exit status.
int answer_with_status(std::string_view status, std::string_view text,
                       std::string_view headline = {}, std::string_view header = {});

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

// Renders "update.htm", a page without keys of its own.
int get_update(const char* message, const FormList* form);
