// The request's form: decoded from the CGI environment (RFC 3875) and the URL encoding of HTML
// forms into an ordered list of key and value.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "framework/list-lib.h"

// The longest forms that are read, in bytes, and the most fields of one.
inline constexpr int kMaxForm = 2 * 1024 * 1024;            // URL-encoded
inline constexpr int kMaxFormWithFiles = 16 * 1024 * 1024;  // multipart/form-data
inline constexpr std::size_t kMaxFields = 20'000;

// A variable of the CGI environment, which is the program's whole input besides the body and the
// working directory; nothing when it is not set.
std::optional<std::string_view> cgi_variable(const char* name);

// A field. Its texts stand in the list's own memory.
struct FormEntry {
    const char* key = "";
    const char* value = nullptr;  // null when the field had no "="
    bool has_control = false;     // the value was posted with a control character in it
};

// By key, then by value, byte-wise; a missing value sorts before any other.
int Compare(const FormEntry& a, const FormEntry& b);

// Sorted by Compare. So of several fields with one key the value that sorts first is found first,
// not the one that was sent first. A form is kept as it came, once, and decoded in place.
struct FormList : EntryList<FormEntry> {
    FormList() : EntryList(CreateList<FormEntry>(kMaxFields, Compare)) {}

    // Copies a text into the list's memory, with a NUL behind it.
    char* keep(std::string_view text);

    std::vector<std::unique_ptr<char[]>> texts;
};

// 1 when the request carries no form: GET without QUERY_STRING, POST without CONTENT_LENGTH; else
// 0. Without REQUEST_METHOD the process ends with a hint on standard error.
int is_form_empty();

// The request's form; nothing for a GET without a query string. Reads standard input for a POST.
// Every failure ends the process with the fatal error page: a form over the limits, one that is cut
// off, memory that runs out.
std::optional<FormList> cgi_input_parse();

// Splits `text` at "&" and inserts every piece that is not empty into `list`, which it returns. A
// "+" stands for a blank.
FormList& parse_data_record(std::string_view text, FormList& list);

// Fills one entry from a piece "key=value" or "key". The entry's texts are in the piece, decoded in
// place as unescape_url does; they may need the character behind it for their NUL.
void parse_data_keyvalue(FormEntry& entry, std::span<char> piece);

// ---- lookups: a null list is an empty one; a pointer lives as long as the list is unchanged ----

// The value of the first field with a key; null when there is none, or it has no value.
const char* find_val(const FormList* list, std::string_view key);
// All values of a key, in list order, into `out`; returns their number. A field without a value
// stands in `out` as null.
std::size_t find_val_multi(const FormList* list, std::string_view key,
                           std::vector<const char*>& out);
// The number of fields.
std::size_t list_count(const FormList* list);

// The first field whose value was posted with a control character in it, or null.
const FormEntry* entry_with_control(const FormList& list);

// The value of a field, empty when it is absent.
std::string_view field_text(const FormList* list, std::string_view key);

// True when the field is present and has exactly this value.
bool field_is(const FormList* list, std::string_view key, std::string_view value);

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

// What to look for: a key, a value or both.
struct FormPattern {
    std::optional<std::string_view> key;
    std::optional<std::string_view> value;
};

// With a key in the pattern: the entry's key equals it and, if the pattern has a value, its value
// too. Without: the values are equal or both missing.
bool Match(const FormPattern& pattern, const FormEntry& entry);

// The first key with that value, or null; all of them, as find_val_multi.
const char* find_key(const FormList* list, std::string_view value);
std::size_t find_key_multi(const FormList* list, std::string_view value,
                           std::vector<const char*>& out);

// Removing fields: the first with that key and value, all with a key, all with a value. 1 when any
// was removed, else 0.
int list_delete_entry(FormList& list, std::string_view key, std::string_view value);
int list_delete_key_multi(FormList& list, std::string_view key);
int list_delete_val_multi(FormList& list, std::string_view value);
// Removes all fields and gives their memory back.
void list_clear(FormList& list);

// `text` with each "%" and its two hexadecimal digits replaced by the byte they spell. What is not
// a digit ends the number; a "%" cut short by the end of the text takes what is there.
std::string unescape_url(std::string_view text);

// The number of "%" in the text.
std::size_t num_encoded_data_items(std::string_view text);

// Prints the list to standard output as an HTML definition list.
void list_print(const FormList* list);

// Prints the CGI variables of the request to standard output, one a line: a diagnostic aid.
void cgi_env();
