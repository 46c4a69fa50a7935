#include "framework/cgi-lib.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "base/format.h"
#include "base/io.h"
#include "base/json_reader.h"
#include "base/text.h"
#include "base/words.h"
#include "framework/html-lib.h"
#include "framework/message.h"
#include "framework/multipart.h"
#include "framework/upload.h"

namespace {

// The texts of the failures stay as they have always stood, slips of spelling included: they are
// what administrators search for.
constexpr char kNoMemory[] = "Could not allocate enough memory.";

constexpr char kBadRequest[] = "400 Bad Request";
constexpr char kTooLarge[] = "413 Content Too Large";

// Without a method no server runs the program, but a person in a shell, who needs no page.
std::string_view request_method() {
    if (const auto method = cgi_variable("REQUEST_METHOD")) return *method;
    std::fputs(
        "Error!\n"
        "The REQUEST_METHOD environment variable\n"
        "does not exists.\n\n"
        "If you are dubugging, please set your CGI\n"
        "environment variables.\n\n",
        stderr);
    std::exit(0);
}

std::string_view query_string() { return cgi_variable("QUERY_STRING").value_or(""); }

std::string_view content_type() { return cgi_variable("CONTENT_TYPE").value_or(""); }

bool is_control(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

bool read_exactly(char* out, std::size_t length) {
    while (length > 0) {
        const ssize_t got = read_some(STDIN_FILENO, out, length);
        if (got <= 0) return false;
        out += got;
        length -= static_cast<std::size_t>(got);
    }
    return true;
}

// Memory for so many characters and a NUL.
std::unique_ptr<char[]> new_text(std::size_t size) {
    return std::unique_ptr<char[]>(new char[size + 1]);
}

// A NUL ends a text everywhere in the system, so it does in a value; the entry remembers it.
void set_value(FormEntry& entry, std::span<char> value) {
    entry.value = value.data();
    entry.has_control = std::any_of(value.begin(), value.end(), is_control);
    value.data()[value.size()] = '\0';
}

void add(FormList& list, const FormEntry& entry) {
    if (!AddEntry(list, entry)) cgi_err("Error!", "Error adding to list!");
}

// Decodes a text in place; returns its new size. Always two characters belong to a "%", digits or
// not, and at the end of the text so many as there are: nothing behind it is read.
std::size_t unescape(std::span<char> text) {
    std::size_t size = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            text[size++] = text[i];
            continue;
        }
        std::array<char, 3> digits{};
        copy_text(digits, {text.data() + i + 1, text.size() - i - 1});
        const std::size_t taken = std::min(text.size() - i - 1, digits.size() - 1);
        if (taken > 0) text[size++] = static_cast<char>(std::strtoul(digits.data(), nullptr, 16));
        i += taken;
    }
    return size;
}

// Splits a form and decodes it in place. The character behind it is a NUL.
void parse_fields(std::span<char> text, FormList& list) {
    // Before anything is decoded, so that an encoded plus stays one.
    std::replace(text.begin(), text.end(), '+', ' ');
    while (!text.empty()) {
        const auto end = static_cast<std::size_t>(std::ranges::find(text, '&') - text.begin());
        if (end > 0) {
            FormEntry entry;
            parse_data_keyvalue(entry, text.first(end));
            add(list, entry);
        }
        text = text.subspan(std::min(end + 1, text.size()));
    }
    SortEntries(list);
}

// The value of a field for a file: the path where the file is now, empty when none was chosen.
std::string take_file(const FormPart& part) {
    if (part.file_name.empty()) return "";
    const std::optional<std::string> path = store_upload(part.content);
    if (!path) cgi_err("Error!", "The uploaded file could not be stored.");
    return *path;
}

void parse_parts(std::span<char> body, FormList& list) {
    std::vector<FormPart> parts;
    if (!split_multipart(content_type(), {body.data(), body.size()}, parts))
        cgi_err("Error!", "Error Reading Data", kBadRequest);
    for (const FormPart& part : parts) {
        FormEntry entry{.key = list.keep(part.name)};
        const auto at = static_cast<std::size_t>(part.content.data() - body.data());
        if (part.is_file)
            entry.value = list.keep(take_file(part));
        else
            set_value(entry, body.subspan(at, part.content.size()));
        add(list, entry);
    }
    SortEntries(list);
}

// What is no form is answered as such, and not as a page that nobody asked for.
void parse_object(std::string_view body, FormList& list) {
    std::vector<JsonField> fields;
    const std::string_view wrong = read_flat_object(body, fields);
    if (!wrong.empty()) {
        answer_with_status(kBadRequest, wrong);
        std::exit(0);
    }
    for (const JsonField& field : fields) {
        FormEntry entry{.key = list.keep(field.name)};
        set_value(entry, {list.keep(field.value), field.value.size()});
        add(list, entry);
    }
    SortEntries(list);
}

bool is_json(std::string_view content_type) {
    const std::string_view type = content_type.substr(0, content_type.find_first_of("; \t"));
    return StrCmpi(type, "application/json") == 0;
}

void parse_body(FormList& list) {
    const auto content_length = cgi_variable("CONTENT_LENGTH");
    if (!content_length) cgi_err("Error!", "CONTENT_LENGTH is NULL", kBadRequest);
    const bool with_files = is_multipart(content_type());
    if (!is_within(*content_length, 0, with_files ? kMaxFormWithFiles : kMaxForm))
        cgi_err("Error!", kNoMemory, kTooLarge);
    const auto size = static_cast<std::size_t>(to_int(*content_length));
    const std::span<char> body(list.texts.emplace_back(new_text(size)).get(), size);
    if (!read_exactly(body.data(), size)) cgi_err("Error!", "Error Reading Data", kBadRequest);
    body.data()[size] = '\0';
    if (with_files)
        parse_parts(body, list);
    else if (is_json(content_type()))
        parse_object({body.data(), body.size()}, list);
    else
        parse_fields(body, list);
}

// The fields from the first one with that key on: all of them stand side by side.
std::span<const FormEntry> fields_from(const FormList& list, std::string_view key) {
    const auto key_of = [](const FormEntry& entry) { return std::string_view(entry.key); };
    return {std::ranges::lower_bound(list.nodes, key, {}, key_of), list.nodes.end()};
}

}  // namespace

std::optional<std::string_view> cgi_variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? std::optional<std::string_view>(value) : std::nullopt;
}

char* FormList::keep(std::string_view text) {
    char* copy = texts.emplace_back(new_text(text.size())).get();
    copy_text({copy, text.size() + 1}, text);
    return copy;
}

int Compare(const FormEntry& a, const FormEntry& b) {
    const int order = std::strcmp(a.key, b.key);
    if (order != 0) return order;
    if (!a.value || !b.value) return (a.value != nullptr) - (b.value != nullptr);
    return std::strcmp(a.value, b.value);
}

int is_form_empty() {
    const std::string_view method = request_method();
    if (method == "GET") return query_string().empty();
    if (method == "POST") return !cgi_variable("CONTENT_LENGTH");
    return 0;
}

std::optional<FormList> cgi_input_parse() try {
    FormList list;
    const std::string_view method = request_method();
    if (method == "GET") {
        const std::string_view query = query_string();
        if (query.empty()) return std::nullopt;
        if (std::ssize(query) > kMaxForm) cgi_err("Error!", kNoMemory, kTooLarge);
        parse_data_record(query, list);
    } else if (method == "POST") {
        parse_body(list);
    } else {
        cgi_err("CGI Error!", "Unsupported REQUEST_METHOD", "501 Not Implemented");
    }
    return list;
} catch (const std::bad_alloc&) {
    cgi_err("Error!", kNoMemory);
}

FormList& parse_data_record(std::string_view text, FormList& list) try {
    parse_fields({list.keep(text), text.size()}, list);
    return list;
} catch (const std::bad_alloc&) {
    cgi_err("Error!", "Could not allocate enought memory for parsing.");
}

void parse_data_keyvalue(FormEntry& entry, std::span<char> piece) {
    const auto equals = static_cast<std::size_t>(std::ranges::find(piece, '=') - piece.begin());
    const std::span<char> key = piece.first(equals);
    entry = {.key = key.data()};
    if (equals < piece.size()) {
        const std::span<char> value = piece.subspan(equals + 1);
        set_value(entry, value.first(unescape(value)));
    }
    key.data()[unescape(key)] = '\0';
}

const char* find_val(const FormList* list, std::string_view key) {
    if (!list) return nullptr;
    const auto fields = fields_from(*list, key);
    return fields.empty() || key != fields.front().key ? nullptr : fields.front().value;
}

std::size_t find_val_multi(const FormList* list, std::string_view key,
                           std::vector<const char*>& out) {
    out.clear();
    if (!list) return 0;
    for (const FormEntry& entry : fields_from(*list, key)) {
        if (key != entry.key) break;
        out.push_back(entry.value);
    }
    return out.size();
}

std::size_t list_count(const FormList* list) { return list ? GetCount(*list) : 0; }

const FormEntry* entry_with_control(const FormList& list) {
    return FindEntryData(list, true, [](bool wanted, const FormEntry& entry) {
        return entry.has_control == wanted;
    });
}

std::string_view field_text(const FormList* list, std::string_view key) {
    const char* found = find_val(list, key);
    return found ? found : "";
}

bool field_is(const FormList* list, std::string_view key, std::string_view value) {
    const char* found = find_val(list, key);
    return found && value == found;
}

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

namespace {

constexpr std::array kCgiVariables = {
    "SERVER_SOFTWARE", "SERVER_NAME",     "GATEWAY_INTERFACE",    "SERVER_PORT",  "REQUEST_METHOD",
    "PATH_INFO",       "PATH_TRANSLATED", "SCRIPT_NAME",          "QUERY_STRING", "REMOTE_HOST",
    "REMOTE_ADDR",     "AUTH_TYPE",       "REMOTE_USER",          "REMOTE_IDENT", "CONTENT_TYPE",
    "CONTENT_LENGTH",  "SERVER_ADMIN",    "DOCUMENT_ROOT",        "REMOTE_GROUP", "HTTP_REFERER",
    "HTTP_ACCEPT",     "HTTP_USER_AGENT", "HTTP_ACCEPT_LANGUAGE", "HTTP_COOKIE",
};

int delete_multi(FormList& list, const FormPattern& pattern) {
    return std::erase_if(list.nodes, [&](const auto& entry) { return Match(pattern, entry); }) > 0;
}

}  // namespace

bool Match(const FormPattern& pattern, const FormEntry& entry) {
    const bool is_value = entry.value ? pattern.value == entry.value : !pattern.value;
    if (pattern.key) return *pattern.key == entry.key && (!pattern.value || is_value);
    return is_value;
}

const char* find_key(const FormList* list, std::string_view value) {
    const FormEntry* entry = list ? FindEntryData(*list, FormPattern{{}, value}, Match) : nullptr;
    return entry ? entry->key : nullptr;
}

std::size_t find_key_multi(const FormList* list, std::string_view value,
                           std::vector<const char*>& out) {
    out.clear();
    if (list)
        TraverseList(*list, [&](const FormEntry& entry) {
            if (Match({{}, value}, entry)) out.push_back(entry.key);
        });
    return out.size();
}

int list_delete_entry(FormList& list, std::string_view key, std::string_view value) {
    return DeleteEntry(list, FormPattern{key, value}, Match);
}

int list_delete_key_multi(FormList& list, std::string_view key) {
    return delete_multi(list, {key, {}});
}

int list_delete_val_multi(FormList& list, std::string_view value) {
    return delete_multi(list, {{}, value});
}

void list_clear(FormList& list) {
    list.nodes.clear();
    list.texts.clear();
}

std::string unescape_url(std::string_view text) try {
    std::string out(text);
    out.resize(unescape(out));
    return out;
} catch (const std::bad_alloc&) {
    cgi_err("Error!", "Could not allocated enough memory.");
}

std::size_t num_encoded_data_items(std::string_view text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '%'));
}

void list_print(const FormList* list) {
    put("<DL>\n");
    if (list)
        TraverseList(*list, [](const FormEntry& entry) {
            put(format_text("<DT><B>%s</B>\n<DD>%s\n", entry.key, entry.value ? entry.value : ""));
        });
    put("</DL>\n");
}

void cgi_env() {
    for (const char* name : kCgiVariables) {
        put(format_text("<B>%s</B>: %s<BR>\n", name, cgi_variable(name).value_or("")));
        if (std::string_view(name) == "REMOTE_GROUP") put("<BR>\n");
    }
}
