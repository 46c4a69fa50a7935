// The history page lists the changes that are kept, shows one of them, and undoes it with all later
// ones. Fields: "change", its number; "todo=undo"; "overwrite=yes" to undo what was edited by hand,
// too.
#include "entry/history.h"

#include <algorithm>
#include <string>
#include <vector>

#include "appliance/owned_files.h"
#include "base/date.h"
#include "base/digest.h"
#include "base/files.h"
#include "base/format.h"
#include "base/journal.h"
#include "base/words.h"
#include "entry/confirmation.h"
#include "entry/file_texts.h"
#include "entry/going_back.h"
#include "framework/answer.h"
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

// What nobody but the owner may read, before or after; also what nothing is known of.
bool is_secret(const KeptFile& file) {
    const OwnedFile* row = owned_file(file.path);
    if ((row && row->holds == Holds::passwords) || (!file.old && !file.made)) return true;
    return (file.old && is_private(file.old->mode)) || (file.made && is_private(file.made->mode));
}

std::string describe(const KeptFile& file) try {
    std::optional<std::string> before;
    std::optional<std::string> after;
    if (file.old) before = old_content(shown.change, file).value_or("");
    if (file.left != "-") after = content_after(file.path).value_or("");
    return difference_in_words(before, after, is_secret(file));
} catch (const Unreadable&) {
    return "changed\n";
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

FileWords words_of(std::size_t number) {
    const KeptFile& file = shown.change.files[number];
    return {file.path, describe(file)};
}

std::string command_lines() {
    std::string lines;
    for (const std::string& line : shown.change.commands) lines += line + "\n";
    return lines;
}

int get_files(LongText& text, int&) {
    text = list_of_files(shown.change.files.size(), command_lines(), words_of);
    return 0;
}

int get_commands(LongText& text, int&) {
    text = command_lines();
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
    if (change.number == waiting_change()) *text += "; waits to be kept";
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
    {"change", nullptr, nullptr},
    {"overwrite", nullptr, nullptr},
});

constexpr std::array array_fun_tab = std::to_array<ArrayFun>({
    {"history_list", get_list, Shape::rows},
    {"history_numbers", get_numbers, Shape::options},
    {"history_files", get_files, Shape::parts},
    {"history_commands", get_commands},
});

// ---- undo ----

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

int undo(const FormList* form, int mode, const Actions& actions, Message& message) {
    const auto number = static_cast<unsigned>(to_long(field_text(form, "change")));
    const std::vector<Change> changes = changes_from(number);
    const auto is_damaged = [](const Change& change) { return !change.damage.empty(); };
    if (changes.empty() || changes.front().number != number ||
        std::ranges::any_of(changes, is_damaged) || !remember_files_before(changes))
        return refuse(Msg::NoSuchChange, message);
    const std::string edited = edited_by_hand(changes);
    if (!edited.empty() && !field_is(form, "overwrite", "yes")) {
        shown.asks_to_overwrite = true;
        GetErrMsgByIndex(Msg::EditedByHand, message, edited);
        return Msg::EditedByHand;
    }
    if (mode == kCheck) return 0;
    if (put_files_back() != 0) return 1;
    for (const ProcRow* effect : effects_of(changes)) actions.add(effect->action);
    actions.add(kPutBack);
    end_waiting_by_undo();
    GetErrMsgByIndex(Msg::ChangeUndone, message);
    return 0;
}

}  // namespace

PageTables history_tables() { return {rows_of(key_fun_tab), array_fun_tab}; }

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
    return render_page(kPage, history_tables(), message, form);
}

int set_history(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
                int mode, Message& message) {
    if (!field_is(form, "todo", "undo")) return 0;
    return undo(form, mode, {heads, queued, tails}, message);
}
