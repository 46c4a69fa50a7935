#include "framework/parser.h"

#include <algorithm>
#include <initializer_list>

#include "framework/files.h"
#include "framework/html-lib.h"
#include "framework/log.h"
#include "framework/msgfile.h"

int warn_no = 0;

namespace {

constexpr int kPageTooLarge = 2;
constexpr int kTemplateMissing = 10;
constexpr char kEndOfFile = '\xff';  // what the end of the file reads as behind a "//"

// The tables of the page that is being rendered.
std::span<const KeyGetter> KeyFunTab;
std::span<const ArrayFun> ArrayFunTab;

std::string message_text(int number) {
    Message text;
    GetErrMsgByIndex(number, text);
    return text.c_str();
}

// The built-in warnings; the longer ones are spread over several numbered messages.
std::string warning() {
    switch (warn_no) {
        case 52:
        case 55:
            return message_text(warn_no);
        case 56:
            return message_text(56) + message_text(57);
        case 58:
            return message_text(58) + message_text(59) + message_text(60);
        default:
            return "";
    }
}

// One run over a template.
class Expander {
public:
    Expander(std::string_view text, const char* message, const FormList* form)
        : rest_(text), message_(message), form_(form) {}

    Expansion run() {
        page_.reserve(kPageSize);
        while (!rest_.empty() && !stopped_) {
            last_failure_.reset();
            if (!copy_plain()) take() == '@' ? key_marker() : list_marker();
        }
        if (stopped_) last_failure_ = kPageTooLarge;
        return {std::move(page_), last_failure_};
    }

private:
    // Copies the text before the next character that can begin a marker; false when there is none.
    bool copy_plain() {
        const auto begins_marker = [](char c) { return c == '@' || c == '/'; };
        const auto end = std::find_if(rest_.begin(), rest_.end(), begins_marker);
        const std::string_view plain =
            rest_.substr(0, static_cast<std::size_t>(end - rest_.begin()));
        rest_.remove_prefix(plain.size());
        copy(plain);
        return !plain.empty();
    }

    char take() {
        const char c = rest_.front();
        rest_.remove_prefix(1);
        return c;
    }

    void copy(std::string_view text) {
        if (page_.size() + text.size() >= kPageSize)
            stopped_ = true;
        else
            page_ += text;
    }

    void copy(std::initializer_list<char> text) {
        copy(std::string_view(text.begin(), text.size()));
    }

    // Takes the text up to a "#" or, where none comes, so much as the collection holds.
    // True when the "#" came; it is taken too.
    bool collect(std::size_t room, std::string_view& name) {
        name = rest_.substr(0, std::min(room, rest_.find('#')));
        rest_.remove_prefix(name.size());
        const bool ended = name.size() < room && !rest_.empty();
        if (ended) rest_.remove_prefix(1);
        return ended;
    }

    void key_marker() {
        std::string_view name;
        if (!collect(kMarkerSize - 1, name)) {  // the "@" takes one place of the collection
            copy("@");
            copy(name);
        } else if (name == "message") {
            copy(message());
        } else {
            resolve_key(name);
        }
    }

    void list_marker() {
        if (rest_.empty()) return copy("/");
        if (rest_.front() != '/') return copy({'/', take()});
        take();
        const char third = rest_.empty() ? kEndOfFile : take();
        if (third != '@') return copy({'/', '/', third});
        std::string_view name;
        if (collect(kMarkerSize, name)) return resolve_list(name);
        copy("//@");
        copy(name);
        copy("#");
    }

    std::string message() const {
        if (message_) return message_;
        return store_.empty() ? warning() : store_;
    }

    void resolve_key(std::string_view name) {
        const int index = GetKeyFunIndex(name);
        const ValueGetter getter =
            index < 0 ? nullptr : KeyFunTab[static_cast<std::size_t>(index)].getter;
        if (!getter) {
            const char* value = find_val(form_, name);
            if (value)
                copy(value);
            else
                log_line("key=%s val=NULL", name);
            return;
        }
        ValueText value;
        LongText text;
        int error = 0;
        if (getter(value, text, error) != 0) return failed(name, error);
        copy(text ? std::string_view(*text) : value.view());
    }

    void resolve_list(std::string_view name) {
        LongText text;
        int error = 0;
        if (GetArrayItem(name, text, error) != 0) return failed(name, error);
        if (text) copy(*text);
    }

    void failed(std::string_view name, int error) {
        last_failure_ = error;
        if (message_) return;
        store_ = message_text(error);
        log_line("GetFun of %s error", name);
    }

    std::string_view rest_;
    const char* message_;
    const FormList* form_;
    std::string page_;
    std::string store_;                // why the last marker that failed did
    std::optional<int> last_failure_;  // of the marker just resolved
    bool stopped_ = false;
};

template <class Row>
int index_of(std::span<const Row> rows, std::string_view Row::*name, std::string_view wanted) {
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (wanted == rows[i].*name) return static_cast<int>(i);
    return -1;
}

}  // namespace

Expansion expand_template(std::string_view text, std::span<const KeyGetter> keys,
                          std::span<const ArrayFun> arrays, const char* message,
                          const FormList* form) {
    KeyFunTab = keys;
    ArrayFunTab = arrays;
    return Expander(text, message, form).run();
}

int render_page(const char* path, std::span<const KeyGetter> keys, std::span<const ArrayFun> arrays,
                const char* message, const FormList* form) {
    const std::optional<std::string> text = read_file(path);
    if (!text) {
        Message missing;
        GetErrMsgByIndex(kTemplateMissing, missing, path);
        log_line("CGI_ERR CHK4");
        cgi_err(missing, "");
    }
    const Expansion result = expand_template(*text, keys, arrays, message, form);
    if (result.error) cgi_err(message_text(*result.error), "");
    mime_header("text/html");
    put(result.page);
    return 0;
}

int GetKeyFunIndex(std::string_view name) { return index_of(KeyFunTab, &KeyGetter::key, name); }

int GetArrayFunIndex(std::string_view name) { return index_of(ArrayFunTab, &ArrayFun::name, name); }

int GetArrayItem(std::string_view name, LongText& text, int& error) {
    text.reset();
    const int index = GetArrayFunIndex(name);
    return index < 0 ? 0 : ArrayFunTab[static_cast<std::size_t>(index)].generator(text, error);
}
