// The backup page sends all settings as one archive, takes one back, and offers the factory's.
// Whichever archive is to be restored first becomes the one that waits, RestoreF, and the page
// shows what it would do; "todo=apply" with its digest then restores that one and no other.
// Fields: "todo=backup"; "todo=restore" with the file "archive"; "todo=factory"; "todo=apply" with
// "digest".
#include "entry/backup.h"

#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <array>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "appliance/archive.h"
#include "appliance/ppp_conf.h"
#include "base/date.h"
#include "base/digest.h"
#include "base/files.h"
#include "base/format.h"
#include "base/journal.h"
#include "base/replacement.h"
#include "base/turn.h"
#include "base/words.h"
#include "framework/html-lib.h"
#include "framework/message.h"
#include "framework/msgfile.h"
#include "framework/upload.h"
#include "nat/process.h"

namespace {

constexpr char kPage[] = "backup.htm";
constexpr std::time_t kWaits = 600;  // seconds that an archive waits to be restored

// ---- the archive that waits ----

bool is_too_old() {
    struct stat status {};
    const std::time_t now = std::time(nullptr);
    return lstat(RestoreF, &status) == 0 &&
           (status.st_mtime < now - kWaits || status.st_mtime > now + kWaits);
}

// What the page shows: an archive that this request has looked at.
struct Shown {
    std::string digest;  // empty: none
    Archive archive;
};
Shown shown;  // NOLINT(cert-err58-cpp): nothing of it throws

void show_waiting_archive() {
    shown.archive = open_archive(RestoreF);
    if (shown.archive.fault.empty()) shown.digest = digest_of(RestoreF);
}

bool is_asked_for(const FormList* form) {
    const std::string_view digest = field_text(form, "digest");
    return !digest.empty() && exists(RestoreF) && digest == digest_of(RestoreF);
}

// ---- the page ----

// What becomes of a file, as the list has it.
constexpr std::array<std::string_view, 4> kFates = {"the same", "is replaced", "is made",
                                                    "is removed"};
constexpr std::size_t kRemoved = 3;
static_assert(static_cast<std::size_t>(Effect::makes) == kRemoved - 1);

void add_row(std::string& text, std::size_t fate, const std::string& path, const FormatArg& size) {
    constexpr char kRow[] =
        "<tr>\n<td nowrap>%s</td>\n<td nowrap>%s</td>\n<td nowrap>%s</td>\n</tr>\n";
    text += format_text(kRow, kFates[fate], path, size);
}

int get_list(LongText& text, int&) {
    text.emplace();
    if (shown.digest.empty()) return 0;
    gather([&] {
        const Archive& archive = shown.archive;
        for (const ArchivedFile& file : archive.files)
            add_row(*text, static_cast<std::size_t>(effect_of(archive, file)), file.path,
                    long{file.size});
        for (const std::string& path : files_to_remove(archive)) add_row(*text, kRemoved, path, "");
    });
    return 0;
}

int get_digest(ValueText& value, LongText&, int&) { return show(value, shown.digest); }

// An attribute of what is not offered.
int show_hidden(ValueText& value, bool hidden) { return show(value, hidden ? "hidden" : ""); }

int get_no_archive(ValueText& value, LongText&, int&) {
    return show_hidden(value, shown.digest.empty());
}

int get_no_factory(ValueText& value, LongText&, int&) {
    return show_hidden(value, access(FactoryF, R_OK) != 0);
}

constexpr std::array key_fun_tab = std::to_array<KeyFun<NoRecord>>({
    {"backup_digest", get_digest, nullptr},
    {"backup_no_archive", get_no_archive, nullptr},
    {"backup_no_factory", get_no_factory, nullptr},
    {"archive", nullptr, nullptr},
    {"digest", nullptr, nullptr},
});

constexpr std::array array_fun_tab = std::to_array<ArrayFun>({
    {"backup_list", get_list, Shape::rows},
});

// ---- an archive is looked at ----

int refuse_stranger(const Archive& archive, Message& message) {
    const int number = archive.stranger.empty() ? Msg::NoArchive : Msg::DoesNotBelong;
    GetErrMsgByIndex(number, message, archive.fault, archive.stranger);
    return number;
}

int store(const Archive& archive) {
    Replacement out(RestoreF, kSecretMode);
    struct stat status {};
    const int file = archive.file.get();
    const bool is_read = fstat(file, &status) == 0 &&
                         each_piece(file, 0, status.st_size, [&](std::string_view piece) {
                             out.write(piece);
                             return true;
                         });
    return !is_read || out.install() != Written::done;
}

int look_at(const std::string& path, int mode, Message& message) {
    const Archive archive = open_archive(path);
    if (!archive.fault.empty()) return refuse_stranger(archive, message);
    if (mode == kCheck) return 0;
    if (store(archive) != 0) return 1;
    show_waiting_archive();
    return 0;
}

int look_at_upload(const FormList* form, int mode, Message& message) {
    const std::optional<std::string> upload = usable_upload(find_val(form, "archive"));
    return upload ? look_at(*upload, mode, message) : refuse(Msg::NoBackupChosen, message);
}

// ---- an archive is restored ----

Archive restored;  // NOLINT(cert-err58-cpp): by this request; nothing of it throws
std::vector<std::string> removed;

int restore_all() {
    for (const ArchivedFile& file : restored.files)
        if (restore_file(restored, file) != Written::done) return 1;
    for (const std::string& path : removed)
        if (remove_file(path) != Written::done) return 1;
    return 0;
}

// What brings everything that runs in line with the new files. The actions of level 0 write files
// from other files, and here all are there. RSNat starts what the method needs, diald as well, but
// leaves one alone that runs, with the old settings.
void queue_effects(int method_before, const Actions& actions) {
    if (method_before == kSerial || Nat_Method() == kSerial) {
        actions.add(kStopDiald);
        actions.add(kDelay);
    }
    actions.add(kRestartNet);
    if (SquidPid() > 1) actions.add(kReconfigFilter);
    actions.add(kRunWANConnect);
    actions.add(kSaveAndRunVS);
    actions.add(kRestore);
}

int apply(const FormList* form, int mode, const Actions& actions, Message& message) {
    if (!is_asked_for(form)) return refuse(Msg::ArchiveGone, message);
    restored = open_archive(RestoreF);
    if (!restored.fault.empty()) return refuse_stranger(restored, message);
    if (mode == kCheck) return 0;
    removed = files_to_remove(restored);
    const int method = Nat_Method();
    if (restore_all() != 0) {
        give_up_change();
        return 1;
    }
    told(remove_file(RestoreF));  // it stays open
    queue_effects(method, actions);
    GetErrMsgByIndex(Msg::Restored, message);
    return 0;
}

// ---- the settings leave ----

// The host's name with what may stand in a file's name everywhere.
std::string host_name() {
    utsname system{};
    (void)uname(&system);
    std::string plain;
    for (const char c : std::string_view(system.nodename))
        if (is_letter(c) || is_digit(c) || c == '-') plain += c;
    return plain.empty() ? "appliance" : plain;
}

}  // namespace

int RestoreAgain() { return restore_all(); }

void drop_old_archive() {
    if (is_too_old()) told(remove_file(RestoreF));
}

int send_backup(const FormList*) {
    const OwnedSet set = open_owned_files();
    leave_turn();
    if (set.archive_size > kMostOctets || set.files.size() > kMostEntries) {
        Message message;
        GetErrMsgByIndex(Msg::BackupTooLarge, message);
        return answer_with_status("500 Internal Server Error", message);
    }
    constexpr std::size_t kDay = 10;  // characters of 2026-11-22
    const std::string day = date_text(std::time(nullptr)).substr(0, kDay);
    put(
        format_text("Content-Disposition: attachment; filename=\"quillstead-%s-%s.tar\"\n"
                    "Cache-Control: no-store\nContent-Length: %d\n",
                    host_name(), day, long{set.archive_size}));
    mime_header("application/x-tar");
    put_archive(set);
    return 0;
}

PageTables backup_tables() { return {rows_of(key_fun_tab), array_fun_tab}; }

int get_backup(const char* message, const FormList* form) {
    gather([&] {
        if (shown.digest.empty() && is_asked_for(form)) show_waiting_archive();
    });
    return render_page(kPage, backup_tables(), message, form);
}

int set_backup(const FormList* form, ProcHeads* heads, ProcFlags* queued, ProcTails* tails,
               int mode, Message& message) {
    if (field_is(form, "todo", "restore")) return look_at_upload(form, mode, message);
    if (field_is(form, "todo", "factory")) return look_at(FactoryF, mode, message);
    if (field_is(form, "todo", "apply")) return apply(form, mode, {heads, queued, tails}, message);
    return 0;
}
