#include "base/detach.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <initializer_list>

namespace {

// All that the web server, or this request, has left open.
void close_all_from(int first) {
    if (close_range(static_cast<unsigned>(first), ~0U, 0) == 0) return;
    for (long fd = sysconf(_SC_OPEN_MAX); fd-- > first;) close(static_cast<int>(fd));
}

bool leave_descriptors() {
    const int null = open("/dev/null", O_RDWR);
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (null < 0 || dup2(null, fd) < 0) return false;
    close_all_from(STDERR_FILENO + 1);
    return true;
}

}  // namespace

bool detach() {
    const pid_t first = _Fork();  // no thread to be careful with
    if (first < 0) return false;
    if (first > 0) {
        while (waitpid(first, nullptr, 0) < 0 && errno == EINTR) continue;
        return false;
    }
    // The leader of a session ends at once: what is left can get no terminal.
    if (setsid() < 0 || !leave_descriptors() || chdir("/") != 0 || _Fork() != 0) _exit(0);
    umask(022);
    return true;
}
