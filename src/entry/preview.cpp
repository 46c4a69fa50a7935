// The preview page shows what a request would do: the files with their differences, the commands in
// their order, and in the message's place what the request itself would have said.
#include "entry/preview.h"

#include <string>
#include <vector>

#include "base/files.h"
#include "base/journal.h"
#include "base/overlay.h"
#include "base/paths.h"
#include "entry/file_texts.h"
#include "entry/page_table.h"
#include "framework/msgfile.h"
#include "framework/upload.h"

namespace {

constexpr char kPage[] = "preview.htm";

struct Shown {
    std::string result;  // "accepted", "refused", "failed"; empty: there was no request
    std::string page;    // that the request belongs to
};
Shown shown;

// A private file's content stays out of sight, whichever of the two is private, and so does a
// log's.
std::string describe(const ForeseenFile& file) try {
    if (file.is_cut) return "(emptied)\n";
    struct stat old {};
    const bool is_there = stat(file.path.c_str(), &old) == 0;
    const bool is_secret = !is_setting(file.path) || (is_there && is_private(old.st_mode)) ||
                           (file.exists && is_private(file.mode));
    const std::optional<std::string> before = read_file(file.path);
    if (!file.exists) return difference_in_words(before, std::nullopt, is_secret);
    if (!file.text) return difference_in_words(before, before, is_secret);
    return difference_in_words(before, std::string(file.text.view()), is_secret);
} catch (const Unreadable&) {
    return "changed\n";
}

FileWords words_of(std::size_t number) {
    const ForeseenFile& file = foreseen_files()[number];
    return {file.path, describe(file)};
}

std::string command_lines() {
    std::string lines;
    for (const std::string& command : foreseen_commands()) lines += command + "\n";
    return lines;
}

int get_files(LongText& text, int&) {
    text = list_of_files(foreseen_files().size(), command_lines(), words_of);
    return 0;
}

int get_commands(LongText& text, int&) {
    text = command_lines();
    return 0;
}

int summary() {
    if (shown.result.empty()) return Msg::NothingPreviewed;
    if (shown.result == "refused") return Msg::WouldBeRefused;
    if (shown.result == "failed") return Msg::WouldFail;
    const bool changes_nothing = foreseen_files().empty() && foreseen_commands().empty();
    return changes_nothing ? Msg::WouldChangeNothing : Msg::WouldBeDone;
}

int get_summary(ValueText& value, LongText&, int&) {
    Message text;
    GetErrMsgByIndex(summary(), text);
    return show(value, text);
}

int get_result(ValueText& value, LongText&, int&) { return show(value, shown.result); }

int get_page(ValueText& value, LongText&, int&) { return show(value, shown.page); }

constexpr std::array key_fun_tab = std::to_array<KeyFun<NoRecord>>({
    {"preview_summary", get_summary, nullptr},
    {"preview_result", get_result, nullptr},
    {"preview_page", get_page, nullptr},
});

constexpr std::array array_fun_tab = std::to_array<ArrayFun>({
    {"preview_files", get_files, Shape::parts},
    {"preview_commands", get_commands},
});

// The page to go back to.
std::string page_of(const FormList& form) {
    const char* name = find_val(&form, "this_file");
    return GetCgiTabIndex(name) < 0 ? Def_Htm : name;
}

}  // namespace

int show_preview(const FormList& form, int (*act)(const FormList& form)) {
    begin_preview();
    act(form);
    end_preview();
    // An upload goes in any case, and the archive that waits to be restored is no setting.
    std::erase_if(foreseen_files(), [](const ForeseenFile& file) {
        return is_own_upload(file.path) || file.path == RestoreF;
    });
    const std::string& result = own_result();
    shown = {.result = result.substr(0, result.find(':')), .page = page_of(form)};
    return get_preview(unwritten_message.c_str(), nullptr);
}

PageTables preview_tables() { return {rows_of(key_fun_tab), array_fun_tab}; }

int get_preview(const char* message, const FormList*) {
    return render_page(kPage, preview_tables(), message, nullptr);
}
