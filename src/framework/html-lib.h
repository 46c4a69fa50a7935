// What the program writes to standard output: the HTTP header, simple HTML elements, and the pages
// that are no pages of the page table. Only these escape their texts; all else stands as it is.
#pragma once

#include <sys/uio.h>

#include <span>
#include <string_view>

// Writes text to standard output (buffered; the process's end flushes it).
void put(std::string_view text);

// "Content-type: " and the type, then the empty line that ends the header.
void mime_header(std::string_view type);

// What mime_header writes before a page, and the pieces of an answer, all at once: they are used
// up.
inline constexpr std::string_view kPageHeader = "Content-type: text/html\n\n";
void put_page(std::span<iovec> pieces);

// The start of a document, with a title (may be empty) and the attributes of <BODY> (may be empty),
// and its end.
void html_begin(std::string_view title, std::string_view body_attributes);
void html_end();

// Headings.
void h1(std::string_view text);
void h2(std::string_view text);

// A whole document, without the HTTP header: two headings (`headline` may be empty) and a link to
// the start page, in the style of the pages. Escapes all three.
void notice_page(std::string_view title, std::string_view headline, std::string_view text);

// The end of every fatal failure: writes an error page with the two headings, escaped, to standard
// output and `text` to standard error, and ends the process with status 0 (a web server would hide
// the page of a program that fails). Data has the status, which pages have never had.
[[noreturn]] void cgi_err(std::string_view title, std::string_view text,
                          std::string_view status = "500 Internal Server Error");

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

// Smaller headings.
void h3(std::string_view text);
void h4(std::string_view text);
void h5(std::string_view text);
void h6(std::string_view text);

// A hidden form field.
void hidden(std::string_view name, std::string_view value);

// A redirection header, in place of mime_header.
void location(std::string_view url);
