#include "base/turn.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "base/deadline.h"
#include "base/io.h"
#include "base/words.h"

namespace {

constexpr char kRunFolder[] = "/run";
constexpr char kFolder[] = "/run/quillstead-admin";
constexpr char kLock[] = "/run/quillstead-admin/lock";
constexpr std::size_t kLine = 64;  // characters of a line that strangers may have chosen
constexpr std::size_t kRecord =
    512;  // the file has always this size, so that it changes in one write

// The turn of this process.
struct OwnTurn {
    Descriptor lock;
    std::string request;  // its lines; none of one that only looks
};
OwnTurn& own() {
    static OwnTurn turn;
    return turn;
}

// Moments of the kernel's clock, which nobody sets.
long now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<long>(time.tv_sec);
}

std::string line_of(std::string_view text) { return one_line(text.substr(0, kLine)) + "\n"; }

Descriptor open_lock() {
    constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC;
    Descriptor lock(open(kLock, kFlags, 0600));
    if (lock.is_open() || errno != ENOENT) return lock;
    mkdir(kRunFolder, 0755);
    mkdir(kFolder, 0700);
    return Descriptor(open(kLock, kFlags, 0600));
}

// Of whole files, held by a process until it ends. Unlike flock(2)'s they can be asked for.
struct flock whole_file() {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

// Ends a call that waits. Repeated, as the first may come a moment before the call.
class Alarm {
public:
    explicit Alarm(int milliseconds) {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, &before_);
        set({milliseconds / 1000, (milliseconds % 1000) * 1000L}, {0, 100000});
    }
    ~Alarm() {
        set({}, {});
        sigaction(SIGALRM, &before_, nullptr);
    }
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

private:
    static void set(timeval first, timeval then) {
        const itimerval timer = {then, first};
        setitimer(ITIMER_REAL, &timer, nullptr);
    }
    struct sigaction before_ {};
};

// The lock as soon as it is free, in the order of those who wait.
Turn wait_for(int lock, int seconds) {
    struct flock whole = whole_file();
    if (fcntl(lock, F_SETLK, &whole) == 0) return Turn::taken;
    if (errno != EAGAIN && errno != EACCES) return Turn::cannot_lock;
    const Deadline deadline(seconds);
    const Alarm alarm(deadline.milliseconds_left());
    while (deadline.milliseconds_left() > 0) {
        if (fcntl(lock, F_SETLKW, &whole) == 0) return Turn::taken;
        if (errno != EINTR) return Turn::cannot_lock;
    }
    return Turn::not_in_time;
}

// Takes a line off the front of a text.
std::string take_line(std::string_view& rest) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    return std::string(line);
}

bool is_held(int lock) {
    struct flock whole = whole_file();
    return fcntl(lock, F_GETLK, &whole) == 0 && whole.l_type != F_UNLCK;
}

}  // namespace

Turn take_turn(const Request& request, int seconds, Purpose purpose) {
    Descriptor lock = open_lock();
    if (!lock.is_open()) return Turn::cannot_lock;
    const Turn turn = wait_for(lock.get(), seconds);
    if (turn != Turn::taken) return turn;
    own().lock = std::move(lock);
    if (purpose == Purpose::change)
        own().request = line_of(request.page) + line_of(request.todo) + line_of(request.user) +
                        line_of(request.address) + line_of(std::to_string(now()));
    tell_progress("");
    return turn;
}

void leave_turn() { own().lock.reset(); }

void tell_progress(std::string_view command) {
    if (!own().lock.is_open()) return;
    std::string record = own().request;
    if (!record.empty()) record += line_of(command) + line_of(std::to_string(now()));
    record.resize(kRecord, '\n');
    // Nothing but a status line depends on it.
    if (pwrite(own().lock.get(), record.data(), record.size(), 0) < 0) errno = 0;
}

std::optional<Progress> progress() {
    // Closing the file anywhere in the process would give the process's own lock away.
    if (own().lock.is_open()) return std::nullopt;
    const Descriptor lock(open(kLock, O_RDWR | O_NOFOLLOW | O_CLOEXEC));
    if (!lock.is_open() || !is_held(lock.get())) return std::nullopt;
    std::array<char, kRecord> record{};
    const ssize_t got = read_some(lock.get(), record.data(), record.size());
    std::string_view rest(record.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
    Progress found;
    for (std::string* part :
         {&found.request.page, &found.request.todo, &found.request.user, &found.request.address})
        *part = take_line(rest);
    const std::string since = take_line(rest);
    if (since.empty()) return std::nullopt;
    found.seconds = now() - to_long(since);
    found.command = take_line(rest);
    found.command_seconds = now() - to_long(take_line(rest));
    return found;
}
