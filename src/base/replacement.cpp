#include "base/replacement.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include "base/overlay.h"
#include "base/words.h"

namespace {

constexpr std::size_t kBlock = 16384;

std::string hidden_name_beside(const std::string& path) {
    return folder_of(path) + "." + name_of(path) + ".tmp";
}

// Opens a file that did not exist a moment ago: whatever stood there is removed, nothing is
// followed.
Descriptor open_anew(const std::string& path) {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    Descriptor file(open(path.c_str(), kFlags, kSecretMode));
    if (!file.is_open() && errno == EEXIST && unlink(path.c_str()) == 0)
        file.reset(open(path.c_str(), kFlags, kSecretMode));
    return file;
}

// Copies so many bytes from where `from` stands.
bool copy_bytes(int from, int to, off_t size) {
    std::array<char, kBlock> block;
    while (size > 0) {
        const auto wanted = static_cast<std::size_t>(std::min<off_t>(size, block.size()));
        const ssize_t got = read_some(from, block.data(), wanted);
        if (got <= 0 || !write_all(to, {block.data(), static_cast<std::size_t>(got)})) return false;
        size -= got;
    }
    return true;
}

// Only root may give files away; an ordinary user's files stay the user's.
bool give(int fd, uid_t owner, gid_t group) {
    return fchown(fd, owner, group) == 0 || errno == EPERM || errno == EINVAL;
}

bool allow(const std::string&) { return true; }
BeforeChange may_change = allow;

// What processes that were killed have left of a file that they were to make: hidden names that end
// in the number of a process.
void remove_left_over(const std::string& path) {
    const std::string folder = folder_of(path);
    const std::string beginning = "." + name_of(path) + ".";
    const std::unique_ptr<DIR, int (*)(DIR*)> entries{opendir(folder.c_str()), closedir};
    while (const dirent* entry = entries ? readdir(entries.get()) : nullptr) {
        const std::string_view name = entry->d_name;
        if (!name.starts_with(beginning)) continue;
        const int process = to_int(name.substr(beginning.size()));
        if (process > 0 && kill(process, 0) != 0 && errno == ESRCH)
            unlink((folder + entry->d_name).c_str());
    }
}

Written noted(Written how, const std::string& path) {
    note_failure(Failure::cannot_write, path);
    return how;
}

// Files whose folders are still to be flushed, one of each.
std::vector<std::string> unflushed;

void flush_later(const std::string& path) {
    if (is_passing(path)) return;
    if (unflushed.empty()) std::atexit(flush_folders);
    const auto is_beside = [folder = folder_of(path)](const std::string& other) {
        return folder_of(other) == folder;
    };
    if (std::ranges::none_of(unflushed, is_beside)) unflushed.push_back(path);
}

}  // namespace

void keep_before_changes(BeforeChange asked) { may_change = asked; }

Replacement::Replacement(const std::string& target, std::string temporary, mode_t mode)
    : name_(target),
      target_(behind_links(target)),
      temporary_(target_ == target ? std::move(temporary) : ""),
      hidden_(temporary_.empty()),
      mode_(mode) {
    if (hidden_) temporary_ = hidden_name_beside(target_);
    has_old_ = stat_seen(target_, status_) == 0;
    if (!has_old_ && !means_missing(errno)) state_ = fail(Written::unreadable);
    owner_ = has_old_ ? status_.st_uid : geteuid();
    group_ = has_old_ ? status_.st_gid : getegid();
    if (mode_ == kKeepMode) mode_ = has_old_ ? status_.st_mode & 07777 : kPlainMode;
    if (has_old_ && !in_preview()) old_text_ = kept_text(name_, status_);
}

Replacement::~Replacement() {
    if (removable_) unlink(temporary_.c_str());
}

void Replacement::write(std::string_view text) {
    if (text.empty()) return;
    line_open_ = text.back() != '\n';
    pending_ += text;
    if (pending_.size() <= kMostKept || in_preview()) return;
    is_short_ = false;
    hand_on();
    pending_.clear();
}

void Replacement::write_line(std::string_view text) {
    write(text);
    write("\n");
}

void Replacement::end_line() {
    if (line_open_) write("\n");
}

// Hands on what was written: as long as the old file says the same, nowhere.
void Replacement::hand_on() {
    if (state_ != Written::done || pending_.empty()) return;
    if (!file_.is_open() && equals_old_bytes()) {
        equal_ += pending_.size();
        return;
    }
    if (!file_.is_open()) leave_old_bytes();
    if (state_ == Written::done && !write_all(file_.get(), pending_))
        state_ = fail(Written::not_written);
}

// A file that can be seen but not opened is replaced all the same: its bytes are not wanted.
bool Replacement::knows_old() {
    if (!has_old_ || old_text_ || old_.is_open()) return has_old_;
    old_ = open_regular(target_, O_RDONLY, status_);
    return has_old_ = old_.is_open();
}

bool Replacement::equals_old_bytes() {
    // Of a short text all is there, and the old one need not be read when it is longer or shorter.
    if (is_short_ && !has_old_size(pending_.size())) return false;
    if (!knows_old()) return false;
    if (old_text_) return old_text_.view().substr(equal_, pending_.size()) == pending_;
    std::string bytes(pending_.size(), '\0');
    const ssize_t got = read_at(old_.get(), static_cast<off_t>(equal_), bytes.data(), bytes.size());
    return got == static_cast<ssize_t>(bytes.size()) && bytes == pending_;
}

bool Replacement::copy_equal_bytes() {
    if (old_text_) return write_all(file_.get(), old_text_.view().substr(0, equal_));
    return lseek(old_.get(), 0, SEEK_SET) == 0 &&
           copy_bytes(old_.get(), file_.get(), static_cast<off_t>(equal_));
}

// Begins the temporary file with the bytes that were the same so far.
void Replacement::leave_old_bytes() {
    file_ = open_anew(temporary_);
    removable_ = file_.is_open();
    if (!file_.is_open())
        state_ = fail(Written::no_temporary);
    else if (equal_ > 0 && !copy_equal_bytes())
        state_ = fail(Written::not_written);
    old_.reset();
}

Written Replacement::install() {
    if (in_preview()) return foresee();
    hand_on();
    if (state_ != Written::done) return state_;
    if (!file_.is_open()) {
        if (knows_old() && has_old_size(equal_)) return adopt_mode();
        leave_old_bytes();
        if (state_ != Written::done) return state_;
    }
    return put_in_place();
}

Replacement Replacement::for_new(const std::string& target, mode_t mode) {
    const std::string real = behind_links(target);
    if (!in_preview()) remove_left_over(real);
    return {real, folder_of(real) + "." + name_of(real) + "." + std::to_string(getpid()), mode};
}

Written Replacement::create() {
    if (in_preview()) return exists(target_) ? Written::done : foresee();
    hand_on();
    if (state_ == Written::done && !file_.is_open()) leave_old_bytes();
    if (state_ != Written::done) return state_;
    const bool good = fchmod(file_.get(), mode_) == 0 && fsync(file_.get()) == 0;
    if (!file_.reset() || !good) return fail(Written::not_written);
    if (!may_change(target_)) return fail(Written::not_written);
    // Without hard links on this file system the last one's stays.
    if (link(temporary_.c_str(), target_.c_str()) != 0 && errno != EEXIST &&
        rename(temporary_.c_str(), target_.c_str()) != 0)
        return fail(Written::not_renamed);
    if (!flush_folder(folder_of(target_))) note_failure(Failure::cannot_write, target_);
    return Written::done;
}

// The content is what it was.
Written Replacement::adopt_mode() {
    if (!old_text_) {
        is_telling_ = is_time_telling(status_, this_tick());
        keep_new_text();
    }
    if ((status_.st_mode & 07777) == mode_) return Written::done;
    if (!old_.is_open()) old_ = open_regular(target_, O_WRONLY);
    const bool changed = old_.is_open() && may_change(target_) && fchmod(old_.get(), mode_) == 0;
    return changed ? Written::done : fail(Written::not_written);
}

// Gives a new file all but its name, and has it on disk.
bool Replacement::finish(Descriptor& file) {
    const int fd = file.get();
    is_telling_ = tell_time(fd, status_);
    const bool good = give(fd, owner_, group_) && fchmod(fd, mode_) == 0 && fsync(fd) == 0;
    return file.reset() && good;
}

// Copies the finished temporary file to where it can be renamed.
bool Replacement::copy_beside(const std::string& beside) {
    const Descriptor from(open(temporary_.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!from.is_open() || fstat(from.get(), &status) != 0) return false;
    Descriptor to = open_anew(beside);
    if (to.is_open() && copy_bytes(from.get(), to.get(), status.st_size) && finish(to)) return true;
    unlink(beside.c_str());
    return false;
}

Written Replacement::put_in_place() {
    if (!finish(file_) || !may_change(target_)) return fail(Written::not_written);
    bool renamed = rename(temporary_.c_str(), target_.c_str()) == 0;
    if (!renamed && errno == EXDEV) {
        const std::string beside = hidden_name_beside(target_);
        if (!copy_beside(beside)) return fail(Written::not_written);
        renamed = rename(beside.c_str(), target_.c_str()) == 0;
        const int reason = errno;
        unlink(renamed ? temporary_.c_str() : beside.c_str());
        errno = reason;
    }
    removable_ = !renamed && hidden_;
    if (!renamed) return fail(Written::not_renamed);
    for (const std::string& name : {name_, target_}) forget_file(name);
    keep_new_text();
    flush_later(target_);
    return Written::done;
}

void Replacement::keep_new_text() {
    if (is_short_ && may_be_kept(name_, pending_.size()))
        keep_text(name_, FileText(pending_), status_, is_telling_);
}

Written Replacement::foresee() {
    if (state_ != Written::done) return state_;
    return foresee_text({.path = target_,
                         .mode = mode_,
                         .owner = owner_,
                         .group = group_,
                         .text = FileText(pending_)},
                        temporary_);
}

Written Replacement::fail(Written how) { return noted(how, target_); }

// The new files are there; whether a power cut would leave them there is not known.
void flush_folders() {
    for (const std::string& path : unflushed)
        if (!flush_folder(folder_of(path))) note_failure(Failure::cannot_write, path);
    unflushed.clear();
}

Written replace_file(const std::string& target, std::string_view text, mode_t mode) {
    Replacement out(target, mode);
    out.write(text);
    return out.install();
}

Written empty_file(const std::string& path) {
    if (in_preview()) return foresee_cut(path);
    Descriptor file = open_regular(path, O_WRONLY);
    if (!file.is_open() && means_missing(errno)) return Written::missing;
    forget_file(path);
    const bool emptied = file.is_open() && ftruncate(file.get(), 0) == 0 && fsync(file.get()) == 0;
    return file.reset() && emptied ? Written::done : noted(Written::not_written, path);
}

Written write_anew(const std::string& path, std::string_view text) {
    if (in_preview())
        return foresee_text({.path = path,
                             .mode = kSecretMode,
                             .owner = geteuid(),
                             .group = getegid(),
                             .text = FileText(text)},
                            path);
    forget_file(path);
    Descriptor file = open_anew(path);
    const bool written = file.is_open() && write_all(file.get(), text);
    if (file.is_open() && file.reset() && written) return Written::done;
    return noted(Written::not_written, path);
}

Written remove_file(const std::string& path) {
    if (in_preview()) return foresee_removal(path);
    forget_file(path);
    if (!may_change(path) || (unlink(path.c_str()) != 0 && !means_missing(errno)))
        return noted(Written::not_written, path);
    flush_later(path);
    return Written::done;
}

Written set_mode(const std::string& path, mode_t mode) {
    struct stat status {};
    if (stat_seen(path, status) != 0)
        return means_missing(errno) ? Written::missing : noted(Written::not_written, path);
    if ((status.st_mode & 07777) == mode) return Written::done;
    if (in_preview()) {
        foresee_mode(path, status, mode);
        return Written::done;
    }
    const bool set = may_change(behind_links(path)) && chmod(path.c_str(), mode) == 0;
    return set ? Written::done : noted(Written::not_written, path);
}

Written make_executable(const std::string& path) {
    struct stat status {};
    if (stat_seen(path, status) == 0) return set_mode(path, (status.st_mode & 07777) | 0111);
    return means_missing(errno) ? Written::missing : noted(Written::not_written, path);
}
