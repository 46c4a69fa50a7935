#include "framework/cgi-lib.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include "framework/html-lib.h"
#include "framework/multipart.h"
#include "framework/upload.h"

namespace {

constexpr char kNoMemory[] = "Could not allocate enough memory.";

std::string_view request_method() {
    const char* method = std::getenv("REQUEST_METHOD");
    if (method) return method;
    std::fputs(
        "Error!\n"
        "The REQUEST_METHOD environment variable\n"
        "does not exists.\n\n"
        "If you are dubugging, please set your CGI\n"
        "environment variables.\n\n",
        stderr);
    std::exit(0);
}

// An environment variable, with an unset one as an empty text.
std::string_view variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

bool is_control(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

std::string up_to_nul(std::string text) {
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

bool read_exactly(char* out, std::size_t length) {
    while (length > 0) {
        const ssize_t got = read(STDIN_FILENO, out, length);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        out += got;
        length -= static_cast<std::size_t>(got);
    }
    return true;
}

FormEntry make_entry(std::string key, std::string value) {
    // A NUL ends a text everywhere in the system, so it does here; the entry remembers it.
    const bool has_control = std::any_of(value.begin(), value.end(), is_control);
    return {up_to_nul(std::move(key)), up_to_nul(std::move(value)), has_control};
}

void insert(FormList& list, FormEntry entry) {
    if (!InsertEntry(list, std::move(entry))) cgi_err("Error!", "Error adding to list!");
}

// The value of a field for a file: the path where the file is now, empty when none was chosen.
std::string take_file(const FormPart& part) {
    if (part.file_name.empty()) return "";
    const std::optional<std::string> path = store_upload(part.content);
    if (!path) cgi_err("Error!", "The uploaded file could not be stored.");
    return *path;
}

void parse_multipart(std::string_view body, FormList& list) {
    std::vector<FormPart> parts;
    if (!split_multipart(variable("CONTENT_TYPE"), body, parts))
        cgi_err("Error!", "Error Reading Data");
    for (FormPart& part : parts)
        insert(list, make_entry(std::move(part.name),
                                part.is_file ? take_file(part) : std::string(part.content)));
}

void parse_body(FormList& list) {
    const char* content_length = std::getenv("CONTENT_LENGTH");
    if (!content_length) cgi_err("Error!", "CONTENT_LENGTH is NULL");
    const long length = std::strtol(content_length, nullptr, 10);
    if (length < 0 || length > kMaxBody) cgi_err("Error!", kNoMemory);
    const auto size = static_cast<std::size_t>(length);
    const std::unique_ptr<char[]> body(new (std::nothrow) char[size + 1]);
    if (!body) cgi_err("Error!", kNoMemory);
    if (!read_exactly(body.get(), size)) cgi_err("Error!", "Error Reading Data");
    const std::string_view text(body.get(), size);
    if (is_multipart(variable("CONTENT_TYPE")))
        parse_multipart(text, list);
    else
        parse_data_record(text, list);
}

int compare_text(std::string_view a, std::string_view b) {
    const int order = a.compare(b);
    return (order > 0) - (order < 0);
}

const char* value_of(const FormEntry& entry) {
    return entry.value ? entry.value->c_str() : nullptr;
}

std::size_t find_multi(const FormList* list, const FormPattern& pattern,
                       std::vector<const char*>& out, const char* (*part)(const FormEntry&)) {
    out.clear();
    if (list)
        TraverseList(*list, [&](const FormEntry& entry) {
            if (Match(pattern, entry)) out.push_back(part(entry));
        });
    return out.size();
}

int delete_multi(FormList& list, const FormPattern& pattern) {
    return std::erase_if(list.nodes, [&](const auto& entry) { return Match(pattern, entry); }) > 0;
}

}  // namespace

int Compare(const FormEntry& a, const FormEntry& b) {
    const int order = compare_text(a.key, b.key);
    if (order != 0) return order;
    if (!a.value || !b.value) return a.value.has_value() - b.value.has_value();
    return compare_text(*a.value, *b.value);
}

bool Match(const FormPattern& pattern, const FormEntry& entry) {
    if (pattern.key)
        return entry.key == *pattern.key && (!pattern.value || entry.value == pattern.value);
    return entry.value == pattern.value;
}

int is_form_empty() {
    const std::string_view method = request_method();
    if (method == "GET") return variable("QUERY_STRING").empty();
    if (method == "POST") return std::getenv("CONTENT_LENGTH") == nullptr;
    return 0;
}

std::optional<FormList> cgi_input_parse() {
    FormList list = CreateList<FormEntry>(0, Compare);
    const std::string_view method = request_method();
    if (method == "GET") {
        const std::string_view query = variable("QUERY_STRING");
        if (query.empty()) return std::nullopt;
        parse_data_record(query, list);
    } else if (method == "POST") {
        parse_body(list);
    } else {
        cgi_err("CGI Error!", "Unsupported REQUEST_METHOD");
    }
    return list;
}

FormList& parse_data_record(std::string_view text, FormList& list) {
    std::string copy;
    try {
        copy = text;
    } catch (const std::bad_alloc&) {
        cgi_err("Error!", "Could not allocate enought memory for parsing.");
    }
    // Before anything is decoded, so that an encoded plus stays one.
    std::replace(copy.begin(), copy.end(), '+', ' ');
    std::string_view rest = copy;
    while (!rest.empty()) {
        const std::string_view piece = rest.substr(0, rest.find('&'));
        rest.remove_prefix(std::min(piece.size() + 1, rest.size()));
        if (piece.empty()) continue;
        FormEntry entry;
        parse_data_keyvalue(entry, piece);
        insert(list, std::move(entry));
    }
    return list;
}

void parse_data_keyvalue(FormEntry& entry, std::string_view text) {
    const std::size_t equals = text.find('=');
    try {
        std::string key = unescape_url(text.substr(0, equals));
        if (equals == std::string_view::npos)
            entry = {up_to_nul(std::move(key)), std::nullopt, false};
        else
            entry = make_entry(std::move(key), unescape_url(text.substr(equals + 1)));
    } catch (const std::bad_alloc&) {
        cgi_err("Error!", "Could not allocated enough memory.");
    }
}

std::string unescape_url(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            out += text[i];
            continue;
        }
        const std::string digits(text.substr(i + 1, 2));
        if (!digits.empty()) out += static_cast<char>(std::strtoul(digits.c_str(), nullptr, 16));
        i += digits.size();
    }
    return out;
}

std::size_t num_encoded_data_items(std::string_view text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '%'));
}

const char* find_val(const FormList* list, std::string_view key) {
    const FormEntry* entry = list ? FindEntryData(*list, FormPattern{key, {}}, Match) : nullptr;
    return entry ? value_of(*entry) : nullptr;
}

const char* find_key(const FormList* list, std::string_view value) {
    const FormEntry* entry = list ? FindEntryData(*list, FormPattern{{}, value}, Match) : nullptr;
    return entry ? entry->key.c_str() : nullptr;
}

std::size_t find_val_multi(const FormList* list, std::string_view key,
                           std::vector<const char*>& out) {
    return find_multi(list, {key, {}}, out, value_of);
}

std::size_t find_key_multi(const FormList* list, std::string_view value,
                           std::vector<const char*>& out) {
    return find_multi(list, {{}, value}, out,
                      [](const FormEntry& entry) { return entry.key.c_str(); });
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

std::size_t list_count(const FormList* list) { return list ? GetCount(*list) : 0; }

void list_clear(FormList& list) { list.nodes.clear(); }

void list_print(const FormList* list) {
    put("<DL>\n");
    if (list)
        TraverseList(*list, [](const FormEntry& entry) {
            put("<DT><B>" + entry.key + "</B>\n<DD>" + entry.value.value_or("") + "\n");
        });
    put("</DL>\n");
}

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
