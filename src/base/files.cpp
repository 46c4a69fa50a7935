#include "base/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "base/shell.h"

namespace {

std::string folder_of(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

std::string hidden_name_beside(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::size_t name = slash == std::string::npos ? 0 : slash + 1;
    return path.substr(0, name) + "." + path.substr(name) + ".tmp";
}

// Opens a file that did not exist a moment ago: whatever stood there is removed, nothing is
// followed.
int open_anew(const std::string& path) {
    if (unlink(path.c_str()) != 0 && errno != ENOENT) return -1;
    return open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kSecretMode);
}

// A name is on disk once its folder is. Where folders cannot be flushed there is nothing to do.
void flush_folder(const std::string& path) {
    const int fd = open(folder_of(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    (void)fsync(fd);
    close(fd);
}

bool copy_bytes(int from, int to) {
    std::array<char, 4096> block;
    for (;;) {
        const ssize_t got = read(from, block.data(), block.size());
        if (got == 0) return true;
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        for (ssize_t done = 0; done < got;) {
            const ssize_t put =
                write(to, block.data() + done, static_cast<std::size_t>(got - done));
            if (put < 0 && errno == EINTR) continue;
            if (put < 0) return false;
            done += put;
        }
    }
}

// Copies a finished temporary file beside the target, with its owner and mode, flushed to disk.
bool copy_beside(const std::string& temporary, const std::string& beside) {
    const int from = open(temporary.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (from < 0) return false;
    const int to = open_anew(beside);
    struct stat status {};
    bool good = to >= 0 && fstat(from, &status) == 0 && copy_bytes(from, to) &&
                fchmod(to, status.st_mode & 07777) == 0;
    if (good && fchown(to, status.st_uid, status.st_gid) != 0) good = errno == EPERM;
    if (good) good = fsync(to) == 0;
    if (to >= 0) good = close(to) == 0 && good;
    close(from);
    if (!good) unlink(beside.c_str());
    return good;
}

}  // namespace

LineReader::LineReader(const std::string& path, std::size_t limit)
    : file_(std::fopen(path.c_str(), "re")), limit_(limit) {}

bool LineReader::next() {
    piece_.clear();
    int c = EOF;
    while (piece_.size() < limit_ && (c = getc_unlocked(file_.get())) != EOF) {
        piece_ += static_cast<char>(c);
        if (c == '\n') break;
    }
    return !piece_.empty();
}

std::string_view LineReader::text() const {
    std::string_view text = piece_;
    if (text.ends_with('\n')) text.remove_suffix(1);
    return text;
}

bool LineReader::failed() const { return std::ferror(file_.get()) != 0; }

std::optional<std::string> read_first_line(const std::string& path, std::size_t limit) {
    LineReader in(path, limit);
    if (!in.is_open()) return std::nullopt;
    in.next();
    return std::string(in.text());
}

std::optional<std::string> read_file(const std::string& path, std::size_t limit) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return std::nullopt;
    std::string text;
    std::array<char, 32768> block;  // any template comes in one piece
    bool failed = false;
    while (text.size() < limit) {
        const ssize_t got = read(fd, block.data(), std::min(block.size(), limit - text.size()));
        if (got < 0 && errno == EINTR) continue;
        failed = got < 0;
        if (got <= 0) break;
        text.append(block.data(), static_cast<std::size_t>(got));
    }
    close(fd);
    if (failed) return std::nullopt;
    return text;
}

Replacement::Replacement(std::string target, std::string temporary, mode_t mode)
    : target_(std::move(target)),
      temporary_(std::move(temporary)),
      mode_(mode),
      owner_(geteuid()),
      group_(getegid()) {
    struct stat old {};
    const bool replaces = stat(target_.c_str(), &old) == 0;
    if (replaces) {
        owner_ = old.st_uid;
        group_ = old.st_gid;
    }
    if (mode_ == kKeepMode) mode_ = replaces ? old.st_mode & 07777 : kPlainMode;
    const int fd = open_anew(temporary_);
    if (fd < 0) return;
    removable_ = true;
    file_ = fdopen(fd, "w");
    if (!file_) close(fd);
    state_ = file_ ? State::writing : State::failed;
}

Replacement::Replacement(const std::string& target, mode_t mode)
    : Replacement(target, hidden_name_beside(target), mode) {
    hidden_ = true;
}

Replacement::~Replacement() {
    if (file_) std::fclose(file_);
    if (removable_) unlink(temporary_.c_str());
}

void Replacement::write(std::string_view text) {
    if (text.empty()) return;
    std::fwrite(text.data(), 1, text.size(), file_);
    line_open_ = text.back() != '\n';
}

void Replacement::write_line(std::string_view text) {
    write(text);
    write("\n");
}

void Replacement::end_line() {
    if (line_open_) write("\n");
}

bool Replacement::close_flushed() {
    const int fd = fileno(file_);
    bool good = std::ferror(file_) == 0 && std::fflush(file_) == 0;
    // Only root may give files away; an ordinary user's files stay the user's.
    if (good && fchown(fd, owner_, group_) != 0) good = errno == EPERM || errno == EINVAL;
    good = good && fchmod(fd, mode_) == 0 && fsync(fd) == 0;
    good = std::fclose(file_) == 0 && good;
    file_ = nullptr;
    return good;
}

bool Replacement::finish() {
    if (state_ == State::writing) state_ = close_flushed() ? State::finished : State::failed;
    return state_ == State::finished;
}

Replaced Replacement::install() {
    if (!finish()) return Replaced::not_written;
    bool renamed = std::rename(temporary_.c_str(), target_.c_str()) == 0;
    if (!renamed && errno == EXDEV) {
        const std::string beside = hidden_name_beside(target_);
        if (!copy_beside(temporary_, beside)) return Replaced::not_written;
        renamed = std::rename(beside.c_str(), target_.c_str()) == 0;
        const int reason = errno;
        unlink(renamed ? temporary_.c_str() : beside.c_str());
        errno = reason;
    }
    removable_ = !renamed && hidden_;
    if (!renamed) return Replaced::not_renamed;
    state_ = State::installed;
    flush_folder(target_);
    return Replaced::done;
}

bool replace_file(const std::string& target, std::string_view text, mode_t mode) {
    Replacement out(target, mode);
    if (!out.is_open()) return false;
    out.write(text);
    return out.install() == Replaced::done;
}

bool create_anew(const std::string& path) {
    const int fd = open_anew(path);
    return fd >= 0 && close(fd) == 0;
}

ScratchFile::ScratchFile(std::string path) : path_(std::move(path)), ready_(create_anew(path_)) {}

ScratchFile::~ScratchFile() { unlink(path_.c_str()); }

std::optional<std::string> first_output_line(const std::string& command, const std::string& path,
                                             std::size_t limit) {
    const ScratchFile scratch(path);
    if (!scratch.ready()) return std::nullopt;
    run_command(command);
    return read_first_line(path, limit);
}
