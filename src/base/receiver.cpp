#include "base/receiver.h"

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "base/io.h"

namespace {

constexpr int kLook = 200;  // milliseconds between two looks at the receiver

// busybox httpd makes an end of a head whose beginning does not hold "ontent-".
constexpr std::string_view kSign = "X-Content-State: asking\n";

bool is_watched = false;
volatile sig_atomic_t has_gone = 0;

}  // namespace

void watch_receiver() {
    is_watched = true;
    for (const int ending : {SIGTERM, SIGHUP, SIGPIPE}) signal(ending, [](int) { has_gone = 1; });
}

bool receiver_waits() {
    if (!is_watched) return true;
    // A pipe that nobody reads any more takes nothing.
    if (!has_gone && !write_all(STDOUT_FILENO, kSign)) has_gone = 1;
    return !has_gone;
}

bool wait_for(int fd, short events, const Deadline& deadline) {
    // Also while there is always something to read: who never stops talking is late, too.
    while (const int left = deadline.milliseconds_left()) {
        pollfd ready = {fd, events, 0};
        const int got = poll(&ready, 1, is_watched ? std::min(left, kLook) : left);
        if (got > 0) return true;
        if (got < 0 && errno != EINTR) return false;
        if (!receiver_waits()) return false;
    }
    return false;
}
