#include "base/waiting.h"

#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "base/deadline.h"
#include "base/files.h"
#include "base/format.h"
#include "base/io.h"
#include "base/words.h"

namespace {

constexpr char kFolder[] = "/var/lib/quillstead-admin/changes/";
constexpr char kMark[] = "/var/lib/quillstead-admin/changes/waiting";
constexpr char kBootIdF[] = "/proc/sys/kernel/random/boot_id";

long milliseconds(int seconds) { return long{seconds} * milliseconds_of_a_second(); }

// Of the clock that goes on while the appliance sleeps, and that nobody sets.
std::int64_t now() {
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time);
    return std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
}

// Their number is larger than a long of 32 bits.
std::int64_t milliseconds_in(std::string_view word) {
    std::int64_t number = 0;
    for (const char c : word) number = number * 10 + (c - '0');
    return number;
}

// "-" where the kernel does not tell.
std::string boot_id() try {
    constexpr std::size_t kLength = 36;
    const std::string id = read_first_line(kBootIdF, kLength).value_or("");
    return id.empty() ? "-" : id;
} catch (const Unreadable&) {
    return "-";
}

std::optional<Waiting> read_mark() {
    const std::string text = read_link(kMark);
    if (text.empty()) return std::nullopt;
    std::string_view rest = text;
    Waiting found;
    found.number = static_cast<unsigned>(to_long(take_word(rest)));
    found.end = milliseconds_in(take_word(rest));
    found.is_of_this_boot = take_word(rest) == boot_id();
    return found;
}

// What this process knows of the mark.
struct Seen {
    bool is_known = false;
    std::optional<Waiting> mark;
};
Seen seen;

}  // namespace

long Waiting::milliseconds_left() const {
    // More than anybody may ask for is of another boot, too, where the kernel gives it no id.
    const std::int64_t left = end - now();
    const bool is_possible = is_of_this_boot && left <= milliseconds(kLongestWait);
    return is_possible && left > 0 ? static_cast<long>(left) : 0;
}

long Waiting::seconds_left() const {
    const long second = milliseconds_of_a_second();
    return (milliseconds_left() + second - 1) / second;
}

void Waiting::sleep_until_end() const {
    const timespec moment = {.tv_sec = static_cast<time_t>(end / 1000),
                             .tv_nsec = static_cast<long>(end % 1000) * 1000000};
    while (clock_nanosleep(CLOCK_BOOTTIME, TIMER_ABSTIME, &moment, nullptr) == EINTR) continue;
}

std::optional<Waiting> find_waiting() {
    if (!seen.is_known) seen = {true, read_mark()};
    return seen.mark;
}

void forget_waiting() { seen.is_known = false; }

bool mark_waiting(unsigned number, int seconds) {
    const std::string temporary = std::string(kMark) + ".tmp";
    std::string mark;
    for (const std::int64_t part : {std::int64_t{number}, now() + milliseconds(seconds)})
        mark += std::to_string(part) + " ";
    mark += boot_id() + format_text(" %d", static_cast<long>(time(nullptr) + seconds));
    forget_waiting();
    unlink(temporary.c_str());
    return symlink(mark.c_str(), temporary.c_str()) == 0 && rename(temporary.c_str(), kMark) == 0 &&
           flush_folder(kFolder);
}

bool end_waiting() {
    forget_waiting();
    const bool is_gone = unlink(kMark) == 0 ? flush_folder(kFolder) : means_missing(errno);
    if (!is_gone) note_failure(Failure::cannot_write, kMark);
    return is_gone;
}
