#include "framework/parser.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include "base/escape.h"
#include "base/files.h"
#include "base/journal.h"
#include "base/log.h"
#include "base/overlay.h"
#include "base/turn.h"
#include "framework/answer.h"
#include "framework/html-lib.h"
#include "framework/msgfile.h"
#include "framework/page_data.h"
#include "framework/page_text.h"
#include "framework/places_by_name.h"

int warn_no = 0;

namespace {

// What the end of a template reads as behind a "//": who ends a template so sees it on the page.
constexpr std::string_view kEndOfFile = "\xff";

// The tables of the page that is being rendered.
std::span<const KeyGetter> KeyFunTab;
std::span<const ArrayFun> ArrayFunTab;

// Those of every page.
std::span<const CommonKey> common_keys;

// What the engine itself gives to every page, and the names of that.
enum Own { kMessage, kBusy, kSeen, kChange };
constexpr std::array<std::string_view, 4> kOwnNames = {"message", "busy", "seen", "change"};

// A page's markers name what the engine gives, the keys of every page, the rows of its key table.
PlacesByName names;
int first_common = 0;  // the places where the second and the third begin
int first_row = 0;

void index_names() {
    names.clear();
    for (const std::string_view name : kOwnNames) names.add(name);
    first_common = names.size();
    for (const CommonKey& key : common_keys) names.add(key.name);
    first_row = names.size();
    for (const KeyGetter& row : KeyFunTab) names.add(row.key);
}

std::string message_text(int number) {
    Message text;
    GetErrMsgByIndex(number, text);
    return text.c_str();
}

std::string failure_text(const Failure& failure) {
    Message text;
    tell(failure, text);
    return text.c_str();
}

// What the head of a page says while somebody else's change is made: files that belong together
// may be partly old then.
std::string busy_text() {
    const std::optional<Progress> other = progress();
    if (!other) return "";
    Message text;
    if (other->command.empty())
        GetErrMsgByIndex(Msg::ChangeInProgress, text);
    else
        GetErrMsgByIndex(Msg::ChangeWaitsFor, text, other->command, other->command_seconds);
    return std::string(text.view());
}

// The built-in warnings; the longer ones are spread over several numbered messages.
std::string warning() {
    switch (warn_no) {
        case Msg::DmzBesideFilter:
        case Msg::FilterBesideDmz:
            return message_text(warn_no);
        case Msg::FtpServerBesideDmz:
            return message_text(warn_no) + message_text(Msg::PassiveFtpFails);
        case Msg::DmzBesideFtpServer:
            return message_text(warn_no) + message_text(Msg::PortsGoToDmz) +
                   message_text(Msg::PassiveFtpMayFail);
        default:
            return "";
    }
}

using Escape = std::string (*)(std::string_view text);

// What stands between the "@" and the "#".
struct Marker {
    std::string_view name;
    Escape escape;  // null: the value stands as it is
};

// What comes before that ending; null where the text ends otherwise.
template <std::size_t N>
std::optional<std::string_view> before(const char (&ending)[N], std::string_view text) {
    constexpr std::size_t size = N - 1;
    if (text.size() < size || std::memcmp(text.data() + text.size() - size, ending, size) != 0)
        return std::nullopt;
    return std::string_view(text.data(), text.size() - size);
}

// A filter that is not known belongs to the name.
Marker marker_of(std::string_view text) {
    if (const auto name = before("|html", text)) return {*name, escape_html};
    if (const auto name = before("|options", text)) return {*name, escape_options};
    if (const auto name = before("|rows", text)) return {*name, escape_rows};
    return {text, nullptr};
}

// What a getter is reckoned to give before it is asked: the longest short value, and each of its
// characters one that takes most room when it is escaped.
std::string longest_value() { return std::string(ValueText::capacity, '"'); }

// Room for all texts that are made for a page.
using Store = std::array<char, kPageSize>;

// One run over a template.
class Expander {
public:
    // A run that measures asks no getter.
    Expander(std::string_view text, const char* message, const FormList* form, Store& store,
             bool measures = false)
        : rest_(text),
          message_(message),
          form_(form),
          measures_(measures),
          page_(kPageHeader, store) {}

    void run() {
        while (!rest_.empty() && !stopped_) {
            last_failure_.reset();
            expand_next();
        }
        if (stopped_) last_failure_ = Msg::PageTooLarge;
    }

    // The finished page.
    PageText& page() { return page_; }
    // Why there is none. A failing marker at the very end is fatal, on purpose: no message marker
    // can follow it, so its reason would show nowhere.
    [[nodiscard]] std::optional<int> error() const { return last_failure_; }

    // What is left of the page when the rest of the template follows.
    std::size_t room() const {
        Store store;
        Expander rest(rest_, message_, form_, store, true);
        rest.run();
        const std::size_t used = page_.size() + rest.page_.size();
        return rest.error() || used >= kPageSize ? 0 : kPageSize - 1 - used;
    }

    // What failed comes before what is merely worth a warning.
    std::string message() const {
        if (message_ && *message_) return message_;
        if (measures_) return warning() + longest_value();
        if (!store_.empty()) return store_;
        return first_failure() ? failure_text(*first_failure()) : warning();
    }

    // The size of a text at the marker that is being resolved.
    std::size_t size_of(std::string_view text) const {
        return resolved_.escape ? resolved_.escape(text).size() : text.size();
    }

private:
    // Copies the text before the next "@" and resolves what that begins. A slash is read together
    // with the next character, two of them with a third one, and then all begins anew. So the
    // number of slashes right before the "@" tells what it is:
    //   0  "@key#"     begins a key        3  "///@key#"   a key again, behind three slashes
    //   1  "/@"        is text             4  "////@"      text, and so on
    //   2  "//@list#"  begins a list
    void expand_next() {
        const std::string_view text = take(rest_.find('@'));
        const std::size_t slashes = text.size() - (text.find_last_not_of('/') + 1);
        const bool at_end = take(1).empty();
        const bool is_list = slashes % 3 == 2;
        copy(is_list && !at_end ? text.substr(0, text.size() - 2) : text);
        if (at_end) {
            if (is_list) copy(kEndOfFile);
        } else if (is_list) {
            list_marker();
        } else if (slashes % 3 == 1) {
            copy("@");
        } else {
            key_marker();
        }
    }

    // Takes so many characters, or what is left.
    std::string_view take(std::size_t size) {
        const std::string_view taken = rest_.substr(0, size);
        rest_.remove_prefix(taken.size());
        return taken;
    }

    bool has_room(std::string_view text) {
        stopped_ = page_.size() + text.size() >= kPageSize;
        return !stopped_;
    }

    // Shows a part of the template, or constant text.
    void copy(std::string_view text) {
        if (has_room(text)) page_.add(text);
    }

    void show(std::string_view value, const Marker& marker) {
        if (marker.escape && !stands_for_itself(value)) return show(marker.escape(value), {});
        if (has_room(value)) page_.add_copy(value);
    }

    // Takes the text up to a "#" or, where none comes, so much as the collection holds.
    // True when the "#" came; it is taken too.
    bool collect(std::size_t room, std::string_view& text) {
        text = take(std::min(room, rest_.find('#')));
        return text.size() < room && !take(1).empty();
    }

    void key_marker() {
        std::string_view text;
        if (!collect(kMarkerSize - 1, text)) {  // the "@" takes one place of the collection
            copy("@");
            copy(text);
            return;
        }
        const Marker marker = marker_of(text);
        const int place = names.find(marker.name);
        if (place >= 0 && place < first_row)
            show(text_on_every_page(place), marker);
        else
            resolve_key(marker, place < 0 ? nullptr : row_getter(place - first_row));
    }

    std::string text_on_every_page(int place) {
        switch (place) {
            case kMessage:
                return message();
            case kBusy:
                return busy_text();
            case kSeen:
                return seen();
            case kChange:
                return own_change() ? std::to_string(own_change()) : "";
            default:
                return common_keys[static_cast<std::size_t>(place - first_common)].text();
        }
    }

    void list_marker() {
        std::string_view text;
        if (collect(kMarkerSize, text)) return resolve_list(marker_of(text));
        copy("//@");
        copy(text);
        copy("#");  // so an unfinished list shows where it should have ended
    }

    // The newest change, looked up once: each form of a page names it.
    std::string seen() {
        if (!seen_) seen_ = newest_change();
        return std::to_string(*seen_);
    }

    static ValueGetter row_getter(int row) {
        return KeyFunTab[static_cast<std::size_t>(row)].getter;
    }

    // A key with a getter never echoes the form: what is in force is shown, not what was typed.
    void resolve_key(const Marker& marker, ValueGetter getter) {
        if (!getter) {
            const char* value = find_val(form_, marker.name);
            if (value)
                show(value, marker);
            else
                log_line("key=%s val=NULL", marker.name);
            return;
        }
        if (measures_) return show(longest_value(), marker);
        resolved_ = marker;
        ValueText value;
        LongText text;
        int error = 0;
        if (!succeeds([&] { return getter(value, text, error); }))
            return failed(marker.name, error);
        show(text ? std::string_view(*text) : value.view(), marker);
    }

    void resolve_list(const Marker& marker) {
        if (measures_) return;
        resolved_ = marker;
        LongText text;
        int error = 0;
        if (!succeeds([&] { return GetArrayItem(marker.name, text, error); }))
            return failed(marker.name, error);
        if (text) show(*text, marker);
    }

    // A file that cannot be read fails its marker; which one it is, the message tells.
    template <class Getter>
    static bool succeeds(Getter getter) try {
        return getter() == 0;
    } catch (const Unreadable&) {
        return false;
    }

    void failed(std::string_view name, int error) {
        last_failure_ = error;
        if (message_) return;
        store_ =
            error == 0 && first_failure() ? failure_text(*first_failure()) : message_text(error);
        log_line("GetFun of %s error", name);
    }

    std::string_view rest_;
    const char* message_;
    const FormList* form_;
    const bool measures_;
    Marker resolved_{};
    PageText page_;
    std::string store_;                // why the last marker that failed did
    std::optional<int> last_failure_;  // of the marker just resolved
    bool stopped_ = false;
    std::optional<unsigned> seen_;
};

FileText template_text(const char* path) try { return file_text(path); } catch (const Unreadable&) {
    return {};
}

// The run that makes the page, for its getters.
const Expander* page_in_work = nullptr;

void expand(Expander& page, std::span<const KeyGetter> keys, std::span<const ArrayFun> arrays) {
    KeyFunTab = keys;
    ArrayFunTab = arrays;
    index_names();
    page_in_work = &page;
    page.run();
    page_in_work = nullptr;
}

}  // namespace

void know_on_every_page(std::span<const CommonKey> keys) { common_keys = keys; }

std::span<const CommonKey> keys_of_every_page() { return common_keys; }

std::string standing_message() {
    return first_failure() ? failure_text(*first_failure()) : warning();
}

std::vector<KeyGetter> collect_getters(const void* rows, std::size_t size,
                                       KeyGetter (*row)(const void* rows, std::size_t number)) {
    std::vector<KeyGetter> getters(size);
    for (std::size_t i = 0; i < size; ++i) getters[i] = row(rows, i);
    return getters;
}

std::size_t room_on_page() {
    if (wants_data()) return std::numeric_limits<std::size_t>::max();
    return page_in_work ? page_in_work->room() : 0;
}

std::size_t size_on_page(std::string_view text) {
    return page_in_work ? page_in_work->size_of(text) : text.size();
}

int render_page(const char* path, std::span<const KeyGetter> keys, std::span<const ArrayFun> arrays,
                const char* message, const FormList* form) {
    if (wants_data()) return render_data(path, keys, arrays, message);
    const FileText text = template_text(path);
    if (!text) {
        Message missing;
        GetErrMsgByIndex(Msg::UnknownPage, missing, path);
        log_line("CGI_ERR CHK4");
        cgi_err(missing, "");
    }
    static Store store;  // not on the heap, which would grow for it
    Expander page(text.view(), message, form, store);
    expand(page, keys, arrays);
    if (in_preview()) {
        unwritten_message = page.message();
        return 0;
    }
    if (page.error()) cgi_err(message_text(*page.error()), "");
    put_page(page.page().pieces());
    return 0;
}

int GetKeyFunIndex(std::string_view name) {
    const int place = names.find(name, first_row);
    return place < 0 ? place : place - first_row;
}

int GetArrayFunIndex(std::string_view name) {
    const auto found = std::ranges::find(ArrayFunTab, name, &ArrayFun::name);
    return found == ArrayFunTab.end() ? -1 : static_cast<int>(found - ArrayFunTab.begin());
}

int GetArrayItem(std::string_view name, LongText& text, int& error) {
    text.reset();
    const int index = GetArrayFunIndex(name);
    return index < 0 ? 0 : ArrayFunTab[static_cast<std::size_t>(index)].generator(text, error);
}

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

Expansion expand_template(std::string_view text, std::span<const KeyGetter> keys,
                          std::span<const ArrayFun> arrays, const char* message,
                          const FormList* form) {
    Store store;
    Expander page(text, message, form, store);
    expand(page, keys, arrays);
    return {page.page().joined(), page.error()};
}
