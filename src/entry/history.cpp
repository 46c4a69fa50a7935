// The history page lists the changes that are kept, shows one of them, and undoes it with all later
// ones. Fields: "change", its number; "todo=undo"; "overwrite=yes" to undo what was edited by hand,
// too.
#include "entry/history.h"

#include <algorithm>
#include <string>
#include <vector>

#include "appliance/owned_files.h"
#include "base/date.h"
#include "base/difference.h"
#include "base/files.h"
#include "base/format.h"
#include "base/journal.h"
#include "base/words.h"
#include "framework/msgfile.h"
#include "framework/page_room.h"

namespace {

constexpr char kPage[] = "history.htm";

// What is shown: a change and those behind it, which are undone with it.
struct Shown {
    Change change;
    std::vector<Change> later;
    bool asks_to_overwrite = false;
};
Shown shown;

// The changes from a number on, in order; none when one of them cannot be read whole.
std::vector<Change> changes_from(unsigned number) {
    std::vector<Change> changes;
    for (const unsigned each : kept_changes())
        if (each >= number) changes.push_back(read_change(each));
    return changes;
}

std::string who(const Request& request) {
    if (request.user.empty()) return request.address;
    return request.address.empty() ? request.user
                                   : format_text("%s from %s", request.user, request.address);
}

// ---- what a change did to a file ----

// The file as the change left it: what the next change found, or what is there.
std::optional<std::string> content_after(const std::string& path) {
    for (const Change& change : shown.later)
        for (const KeptFile& file : change.files)
            if (file.path == path) return old_content(change, file);
    return read_file(path);
}

std::string difference_of(const Change& change, const KeptFile& file) try {
    const std::string before = old_content(change, file).value_or("");
    const std::optional<std::string> after = content_after(file.path);
    const bool is_settings = is_settings_text(before) && is_settings_text(after.value_or(""));
    if (is_settings) return settings_difference(before, after.value_or(""));
    const OwnedFile* row = owned_file(file.path);
    const bool is_secret =
        (row && row->holds == Holds::passwords) || (file.old && (file.old->mode & 077) == 0);
    return is_secret ? "changed\n" : unified_difference(before, after.value_or(""));
} catch (const Unreadable&) {
    return "";
}

std::string describe(const Change& change, const KeptFile& file) {
    std::string text = difference_of(change, file);
    if (!file.old) text.insert(0, "(new)\n");
    if (file.left == "-") text.insert(0, "(removed)\n");
    return text.empty() ? "(mode)\n" : text;
}

// ---- the page ----

// The numbers of the changes, newest first.
std::vector<unsigned> newest_first() {
    std::vector<unsigned> numbers = kept_changes();
    std::ranges::reverse(numbers);
    return numbers;
}

int get_list(LongText& text, int&) {
    ListRoom room;
    text.emplace();
    for (const unsigned number : newest_first()) {
        const Change change = read_change(number);
        std::string row = "<tr>\n";
        for (const std::string& cell :
             {std::to_string(number), date_text(change.time), who(change.request),
              change.request.page, change.request.todo,
              change.damage.empty() ? change.result : "damaged"})
            row += "<td nowrap>" + one_line(cell) + "</td>\n";
        row += "</tr>\n";
        if (!room.take(row)) break;
        *text += row;
    }
    return 0;
}

// The change that is shown comes first, as it is the choice at the beginning.
int get_numbers(LongText& text, int&) {
    std::vector<unsigned> numbers = newest_first();
    const auto shown_one = std::ranges::find(numbers, shown.change.number);
    if (shown_one != numbers.end()) std::rotate(numbers.begin(), shown_one, shown_one + 1);
    text.emplace();
    for (const unsigned number : numbers) *text += format_text("<option>%u\n", long{number});
    return 0;
}

int get_files(LongText& text, int&) {
    ListRoom room;
    text.emplace();
    for (const KeptFile& file : shown.change.files) {
        const std::string part = file.path + "\n" + describe(shown.change, file) + "\n";
        if (!room.take(part)) {
            *text += file.path + "\n(There is more than this page has room for.)\n";
            break;
        }
        *text += part;
    }
    return 0;
}

int get_commands(LongText& text, int&) {
    text.emplace();
    for (const std::string& line : shown.change.commands) *text += line + "\n";
    return 0;
}

int get_number(ValueText& value, LongText&, int&) {
    return show(value, shown.change.number ? std::to_string(shown.change.number) : "");
}

int get_title(ValueText& value, LongText&, int&) {
    const Change& change = shown.change;
    if (change.number == 0) return show(value, "No change is kept yet");
    return show(value, format_text("Change %u, %s", long{change.number}, date_text(change.time)));
}

int get_summary(ValueText&, LongText& text, int&) {
    const Change& change = shown.change;
    text.emplace();
    if (change.number == 0) return 0;
    *text = format_text("%s, %s, by %s: ", change.request.page, change.request.todo,
                        who(change.request));
    *text += change.result;
    if (!change.damage.empty()) *text += format_text(" (damaged: %s)", change.damage);
    return 0;
}

int get_later(ValueText&, LongText& text, int&) {
    text.emplace();
    for (const Change& change : shown.later)
        *text += (text->empty() ? "" : ", ") + std::to_string(change.number);
    if (text->empty()) *text = "none";
    return 0;
}

int get_overwrite(ValueText& value, LongText&, int&) {
    return show(value, shown.asks_to_overwrite ? "yes" : "");
}

constexpr std::array key_fun_tab = std::to_array<KeyFun<NoRecord>>({
    {"history_change", get_number, nullptr},
    {"history_title", get_title, nullptr},
    {"history_summary", get_summary, nullptr},
    {"history_later", get_later, nullptr},
    {"history_overwrite", get_overwrite, nullptr},
});

constexpr std::array array_fun_tab = std::to_array<ArrayFun>({
    {"history_list", get_list},
    {"history_numbers", get_numbers},
    {"history_files", get_files},
    {"history_commands", get_commands},
});

// ---- undo ----

struct Wanted {
    std::string path;
    std::optional<FileMark> mark;
    std::string content;
};

// How every file was before the oldest of the changes; nothing when one is damaged.
std::optional<std::vector<Wanted>> files_before(const std::vector<Change>& changes) {
    std::vector<Wanted> files;
    for (const Change& change : changes) {
        if (!change.damage.empty()) return std::nullopt;
        for (const KeptFile& file : change.files) {
            if (std::ranges::count(files, file.path, &Wanted::path)) continue;
            const std::optional<std::string> content = old_content(change, file);
            if (file.old && !content) return std::nullopt;
            files.push_back({file.path, file.old, content.value_or("")});
        }
    }
    return files;
}

// A file that somebody edited by hand: it is not what the newest of the changes has left.
std::string edited_by_hand(const std::vector<Change>& changes) {
    std::vector<std::string> seen;
    for (auto change = changes.rbegin(); change != changes.rend(); ++change)
        for (const KeptFile& file : change->files) {
            if (!file.left || std::ranges::count(seen, file.path)) continue;
            if (digest_of(file.path) != *file.left) return file.path;
            seen.push_back(file.path);
        }
    return "";
}

std::vector<Wanted> to_put_back;

int put_back() {
    int failed = 0;
    for (const Wanted& file : to_put_back) {
        const Written written = file.mark ? replace_file(file.path, file.content, file.mark->mode)
                                          : remove_file(file.path);
        if (written != Written::done) failed = 1;
    }
    return failed;
}

int undo(const FormList* form, int mode, const Actions& actions, Message& message) {
    const auto number = static_cast<unsigned>(to_long(field_text(form, "change")));
    const std::vector<Change> changes = changes_from(number);
    auto files = files_before(changes);
    if (changes.empty() || changes.front().number != number || !files)
        return refuse(Msg::NoSuchChange, message);
    const std::string edited = edited_by_hand(changes);
    if (!edited.empty() && !field_is(form, "overwrite", "yes")) {
        shown.asks_to_overwrite = true;
        GetErrMsgByIndex(Msg::EditedByHand, message, edited);
        return Msg::EditedByHand;
    }
    if (mode == kCheck) return 0;
    to_put_back = std::move(*files);
    if (put_back() != 0) return 1;
    for (const ProcRow& row : kProcRows)
        for (const Change& change : changes)
            if (row.level > 0 && std::ranges::count(change.effects, row.name))
                actions.add(row.action);
    actions.add(kPutBack);
    GetErrMsgByIndex(Msg::ChangeUndone, message);
    return 0;
}

}  // namespace

int PutBackAgain() { return put_back(); }

int get_history(const char* message, const FormList* form) {
    gather([&] {
        const std::vector<unsigned> numbers = kept_changes();
        const auto asked = static_cast<unsigned>(to_long(field_text(form, "change")));
        const unsigned newest = numbers.empty() ? 0 : numbers.back();
        const unsigned number = std::ranges::binary_search(numbers, asked) ? asked : newest;
        shown.later = changes_from(number);
        if (shown.later.empty()) return;
        shown.change = shown.later.front();
        shown.later.erase(shown.later.begin());
    });
    return html_parser(kPage, key_fun_tab, array_fun_tab, message, form);
}

int set_history(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                int mode, Message& message) {
    if (!field_is(form, "todo", "undo")) return 0;
    return undo(form, mode, {heads, queued, tails}, message);
}
