#include "base/journal.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include "base/digest.h"
#include "base/failures.h"
#include "base/files.h"
#include "base/format.h"
#include "base/io.h"
#include "base/replacement.h"
#include "base/waiting.h"
#include "base/words.h"

namespace {

constexpr char kFolder[] = "/var/lib/quillstead-admin/changes/";
constexpr char kOpen[] = "/var/lib/quillstead-admin/changes/open/";
constexpr char kNewest[] = "/var/lib/quillstead-admin/changes/newest";
constexpr char kGone[] = "/var/lib/quillstead-admin/changes/gone/";
constexpr std::size_t kMostChanges = 64;
constexpr off_t kMostOctets = 4 << 20;

struct Journal {
    bool is_open = false;  // it has changed something
    bool failed = false;   // something could not be kept
    unsigned number = 0;   // of its change, once it is open
    std::string head;      // the lines of "request"
    std::string result = "broken off";
    std::vector<std::string> kept;  // paths, in order
    int waits = 0;                  // seconds that the finished change waits to be kept
    bool ends_waiting = false;      // it takes the place of the change that waits
};
Journal& journal() {
    static Journal own;
    return own;
}

std::string in_open(unsigned number, std::string_view ending) {
    return kOpen + std::to_string(number) + std::string(ending);
}

std::string folder_of_change(unsigned number) {
    std::string digits = std::to_string(number);
    if (digits.size() < 6) digits.insert(0, 6 - digits.size(), '0');
    return kFolder + digits + "/";
}

bool cannot_keep() {
    note_failure(Failure::cannot_write, kFolder);
    journal().failed = true;
    return false;
}

// ---- the marks of files ----

std::string octal(mode_t mode) {
    std::string digits = "0000";
    for (std::size_t i = 4; i-- > 0; mode >>= 3) digits[i] = static_cast<char>('0' + (mode & 7));
    return digits;
}

// "MODE USER GROUP REST", or "- REST" of a file that is not there.
std::string mark_of(const std::string& path, std::string_view rest) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return "- " + std::string(rest);
    return octal(status.st_mode & 07777) +
           format_text(" %u %u ", long{status.st_uid}, long{status.st_gid}) + std::string(rest);
}

std::optional<FileMark> take_mark(std::string_view& line) {
    const std::string_view mode = take_word(line, " ");
    if (mode == "-") return std::nullopt;
    FileMark mark{};
    for (const char c : mode) mark.mode = mark.mode * 8 + static_cast<mode_t>(c - '0');
    mark.owner = static_cast<uid_t>(to_long(take_word(line, " ")));
    mark.group = static_cast<gid_t>(to_long(take_word(line, " ")));
    return mark;
}

// ---- keeping ----

bool write_whole(const std::string& path, std::string_view text, int flags) {
    Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC | flags, 0600));
    return file.is_open() && write_all(file.get(), text) && file.reset();
}

// Behind every number that is taken, also where a crash came before "newest" could tell.
unsigned next_number() {
    const std::vector<unsigned> all = kept_changes();
    return std::max(newest_change(), all.empty() ? 0U : all.back()) + 1;
}

constexpr std::size_t kHeadLines = 5;
constexpr std::string_view kNoHead = "request";  // is what is damaged

// The first lines of "request", before the names of the fields.
std::string head_of(const Request& request) {
    std::string head = format_text("%d\n", long{time(nullptr)});
    for (const std::string& text : {request.user, request.address, request.page, request.todo})
        head += one_line(text) + "\n";
    return head;
}

bool begin_change() {
    Journal& own = journal();
    if (own.is_open) return true;
    own.is_open = mkdir(kOpen, 0700) == 0;
    if (!own.is_open || !write_whole(kOpen + std::string("request"), own.head, O_EXCL) ||
        !flush_folder(kFolder))
        return cannot_keep();
    own.number = next_number();
    return true;
}

// The old file under its number, by a link or, where none can be made, as a copy.
bool keep_content(const std::string& path, unsigned number) {
    const std::string kept = in_open(number, "");
    if (link(path.c_str(), kept.c_str()) == 0 || means_missing(errno)) return true;
    if (errno != EXDEV && errno != EPERM && errno != EMLINK && errno != EOPNOTSUPP) return false;
    const std::optional<std::string> content = read_file(path);
    return content && write_whole(kept, *content, O_EXCL | O_SYNC);
}

void append_lines(const char* name, std::string_view lines) {
    if (journal().head.empty() || !begin_change()) return;
    const std::string path = kOpen + std::string(name);
    if (!write_whole(path, lines, O_APPEND)) cannot_keep();
}

// ---- what is kept, and for how long ----

void remove_folder(const std::string& folder) {
    if (const std::unique_ptr<DIR, int (*)(DIR*)> entries{opendir(folder.c_str()), closedir})
        while (const dirent* entry = readdir(entries.get()))
            if (entry->d_name[0] != '.') unlink((folder + entry->d_name).c_str());
    rmdir(folder.c_str());
}

// What of a change would be free if it went.
off_t octets_of(unsigned number) {
    const std::string folder = folder_of_change(number);
    off_t octets = 0;
    struct stat status {};
    for (unsigned file = 1; lstat((folder + std::to_string(file) + ".of").c_str(), &status) == 0;
         ++file)
        if (stat((folder + std::to_string(file)).c_str(), &status) == 0 && status.st_nlink == 1)
            octets += status.st_size;
    return octets;
}

// The oldest go, each in one step.
void drop_old_changes() {
    std::vector<unsigned> all = kept_changes();
    std::size_t first = all.size() - std::min(all.size(), kMostChanges);
    off_t octets = 0;
    for (std::size_t i = all.size(); i-- > first;) {
        octets += octets_of(all[i]);
        if (octets > kMostOctets && i + 1 < all.size()) first = i + 1;
    }
    for (std::size_t i = 0; i < first; ++i) {
        remove_folder(kGone);  // what a crash has left of one that went
        if (rename(folder_of_change(all[i]).c_str(), kGone) == 0) remove_folder(kGone);
    }
}

// One line for the system's log (syslog(3), RFC 3164; 86: authpriv, information). Who keeps no log
// misses it, and nobody waits for it.
void tell_system_log(const std::string& text) {
    const Descriptor log(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = "/dev/log"};
    const std::string line = "<86>quillstead-admin: " + text;
    (void)sendto(log.get(), line.data(), line.size(), MSG_NOSIGNAL,
                 reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

// "change 42: accepted, nat_conn.htm save by admin from 192.168.1.7"
std::string report_on(const Change& change) {
    const Request& by = change.request;
    return format_text("change %u: %s, ", long{change.number}, change.result) +
           format_text("%s %s by ", by.page, by.todo) +
           format_text("%s from %s", by.user.empty() ? "-" : by.user,
                       by.address.empty() ? "-" : by.address);
}

void name_newest(unsigned number) {
    const std::string temporary = std::string(kNewest) + ".tmp";
    unlink(temporary.c_str());
    if (symlink(std::to_string(number).c_str(), temporary.c_str()) == 0)
        rename(temporary.c_str(), kNewest);
}

// ---- reading ----

std::vector<std::string> lines_of(const std::string& path) try {
    std::vector<std::string> lines;
    LineReader in(path);
    while (in.is_open() && in.next()) lines.emplace_back(in.text());
    return lines;
} catch (const Unreadable&) {
    return {};
}

void read_head(Change& change, const std::vector<std::string>& lines) {
    if (lines.size() < kHeadLines) {
        change.damage = kNoHead;
        return;
    }
    change.time = to_long(lines[0]);
    change.request = {.page = lines[3], .todo = lines[4], .user = lines[1], .address = lines[2]};
    change.fields.assign(lines.begin() + kHeadLines, lines.end());
}

Change read_from(const std::string& folder, unsigned number) {
    Change change;
    change.number = number;
    read_head(change, lines_of(folder + "request"));
    for (unsigned file = 1;; ++file) {
        const std::string kept = folder + std::to_string(file);
        const std::string of = read_link(kept + ".of");
        if (of.empty()) break;
        std::string_view line = of;
        KeptFile found{.number = file, .path = {}, .old = take_mark(line)};
        line.remove_prefix(std::min(line.find('/'), line.size()));
        found.path = line;
        const std::string to = read_link(kept + ".to");
        std::string_view mark = to;
        if (!to.empty()) found.made = take_mark(mark);
        if (!to.empty()) found.left = to.substr(to.rfind(' ') + 1);
        if (found.old && !exists(kept)) change.damage = std::to_string(file);
        change.files.push_back(std::move(found));
    }
    change.commands = lines_of(folder + "commands");
    change.effects = lines_of(folder + "effects");
    const std::vector<std::string> result = lines_of(folder + "result");
    if (!result.empty()) change.result = result.front();
    return change;
}

bool is_gone(const std::string& path) { return unlink(path.c_str()) == 0 || means_missing(errno); }

// A second name for a kept file, beside the one that it is to replace: the first one stays until
// all is done.
bool name_beside(const std::string& kept, const std::string& beside) {
    if (!is_gone(beside)) return false;
    if (link(kept.c_str(), beside.c_str()) == 0) return true;
    const std::optional<std::string> content = read_file(kept);
    return content && write_whole(beside, *content, O_EXCL | O_SYNC);
}

bool has_mark(const std::string& path, const FileMark& mark) {
    const bool owned = chown(path.c_str(), mark.owner, mark.group) == 0 || errno == EPERM;
    return owned && chmod(path.c_str(), mark.mode) == 0;
}

bool put_back(const KeptFile& file) {
    if (!file.old) return is_gone(file.path);
    const std::string beside = folder_of(file.path) + "." + name_of(file.path) + ".tmp";
    // Where the file was not replaced yet both are names of it, and rename(2) leaves them alone.
    return name_beside(in_open(file.number, ""), beside) && has_mark(beside, *file.old) &&
           rename(beside.c_str(), file.path.c_str()) == 0 && is_gone(beside) &&
           flush_folder(folder_of(file.path));
}

bool put_all_back(const Change& change) {
    forget_files();
    for (auto file = change.files.rbegin(); file != change.files.rend(); ++file)
        if (!put_back(*file)) return cannot_keep();
    return true;
}

// Removes the mark of a change that will not be finished.
bool forget_mark_of(unsigned number) {
    const std::optional<Waiting> waiting = find_waiting();
    return !waiting || waiting->number != number || end_waiting();
}

void finish_change() {
    Journal& own = journal();
    flush_folders();
    if (own.failed && put_all_back(interrupted_change()) && forget_mark_of(own.number)) {
        remove_folder(kOpen);  // all or nothing
        own = {};
        return;
    }
    for (std::size_t i = 0; i < own.kept.size(); ++i) {
        const std::string to = in_open(static_cast<unsigned>(i + 1), ".to");
        const std::string& path = own.kept[i];
        if (symlink(mark_of(path, digest_of(path)).c_str(), to.c_str()) != 0 && errno != EEXIST)
            cannot_keep();
    }
    // The time begins anew when all is done; where that fails it ends a little earlier.
    if (own_change_waits()) (void)mark_waiting(own.number, own.waits);
    const std::string folder = folder_of_change(own.number);
    if (!write_whole(kOpen + std::string("result"), own.result + "\n", O_TRUNC) ||
        !flush_folder(kOpen) || rename(kOpen, folder.c_str()) != 0)
        cannot_keep();
    name_newest(own.number);
    if (!flush_folder(kFolder)) cannot_keep();
    own.is_open = false;
    own.head.clear();
    drop_old_changes();
    tell_system_log(report_on(read_change(own.number)));
}

}  // namespace

// ---- keeping ----

void keep_changes_of(const Request& request, const std::vector<std::string>& names) {
    Journal& own = journal();
    own = {};
    own.head = head_of(request);
    for (const std::string& name : names) own.head += one_line(name) + "\n";
    keep_before_changes(keep_old);
    std::atexit(end_change);
}

bool is_setting(const std::string& path) { return path.starts_with('/') && !is_passing(path); }

bool keep_old(const std::string& path) {
    Journal& own = journal();
    if (own.head.empty()) return true;  // nothing is kept, or no more
    if (!is_setting(path)) return true;
    if (std::ranges::find(own.kept, path) != own.kept.end()) return true;
    if (!begin_change()) return false;
    // From the first file on a change that is to wait does so; while it is "open" a crash takes it
    // back anyhow.
    if (own.kept.empty() && own.waits > 0 && !mark_waiting(own.number, own.waits))
        return cannot_keep();
    const auto number = static_cast<unsigned>(own.kept.size() + 1);
    const std::string of = in_open(number, ".of");
    if (!keep_content(path, number) || symlink(mark_of(path, path).c_str(), of.c_str()) != 0 ||
        !flush_folder(kOpen))
        return cannot_keep();
    own.kept.push_back(path);
    return true;
}

void keep_command(std::string_view command, int status) {
    append_lines("commands", format_text("%d ", long{status}) + one_line(command) + "\n");
}

void keep_effects(std::span<const std::string_view> names) {
    std::string lines;
    for (const std::string_view name : names) lines += std::string(name) + "\n";
    if (!lines.empty()) append_lines("effects", lines);
}

void keep_result(std::string_view result) { journal().result = one_line(result); }

const std::string& own_result() { return journal().result; }

void give_up_change() { journal().failed = true; }

void end_change() {
    Journal& own = journal();
    if (own.is_open) finish_change();
    // Last of all: a crash before this finds the change waiting, and takes it back once more.
    if (std::exchange(own.ends_waiting, false) && !own.failed && !end_waiting()) cannot_keep();
}

void wait_after_change(int seconds) { journal().waits = seconds; }

bool own_change_waits() {
    const Journal& own = journal();
    return own.is_open && !own.failed && own.waits > 0 && !own.kept.empty();
}

void end_waiting_with_change() { journal().ends_waiting = true; }

// ---- reading ----

unsigned own_change() { return journal().number; }

unsigned newest_change() {
    if (journal().number != 0) return journal().number;
    return static_cast<unsigned>(to_long(read_link(kNewest)));
}

std::vector<unsigned> kept_changes() {
    std::vector<unsigned> numbers;
    if (const std::unique_ptr<DIR, int (*)(DIR*)> entries{opendir(kFolder), closedir})
        while (const dirent* entry = readdir(entries.get()))
            if (is_digit(entry->d_name[0]))
                numbers.push_back(static_cast<unsigned>(to_long(entry->d_name)));
    std::ranges::sort(numbers);
    return numbers;
}

Change read_change(unsigned number) { return read_from(folder_of_change(number), number); }

std::optional<std::string> old_content(const Change& change, const KeptFile& file) try {
    return read_file(folder_of_change(change.number) + std::to_string(file.number));
} catch (const Unreadable&) {
    return std::nullopt;
}

// ---- after a crash ----

bool keeps_changes() { return access(kFolder, W_OK) == 0; }

bool is_interrupted() { return !journal().is_open && access(kOpen, F_OK) == 0; }

Change interrupted_change() { return read_from(kOpen, 0); }

bool take_back_interrupted() {
    Journal& own = journal();
    const Change change = interrupted_change();
    own = {};
    own.number = next_number();
    own.is_open = true;
    own.head = own.result = "interrupted";
    for (const KeptFile& file : change.files) own.kept.push_back(file.path);
    keep_before_changes(keep_old);
    // A power cut may have come before the file's text was on disk: whose change it was is not
    // known, but what it did is, and those before it can be undone.
    if (change.damage == kNoHead &&
        !write_whole(kOpen + std::string("request"), head_of({}), O_TRUNC))
        return cannot_keep();
    return put_all_back(change) && forget_mark_of(own.number);
}
