#include "base/shell.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "base/failures.h"

namespace {

// Where a command reads and writes unless it says otherwise.
class Silence {
public:
    Silence() : failed_(posix_spawn_file_actions_init(&actions_)) {
        if (!failed_) add(STDIN_FILENO, O_RDONLY);
        if (!failed_) add(STDOUT_FILENO, O_WRONLY);
    }
    ~Silence() { posix_spawn_file_actions_destroy(&actions_); }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

    [[nodiscard]] int failed() const { return failed_; }
    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    void add(int fd, int flags) {
        failed_ = posix_spawn_file_actions_addopen(&actions_, fd, "/dev/null", flags, 0);
    }
    posix_spawn_file_actions_t actions_{};
    int failed_;
};

// 0, or the error. Not system(3): what a command prints must not reach the answer, and a shell that
// cannot be run must not look like a command that fails.
int start(const std::string& command, pid_t& pid) {
    const Silence silence;
    if (silence.failed()) return silence.failed();
    std::string shell = "sh";
    std::string option = "-c";
    std::string text = command;
    const std::array<char*, 4> words = {shell.data(), option.data(), text.data(), nullptr};
    return posix_spawn(&pid, "/bin/sh", silence.get(), nullptr, words.data(), environ);
}

}  // namespace

int run_command(const std::string& command) {
    pid_t pid = -1;
    int status = -1;
    errno = start(command, pid);
    if (errno != 0) {
        note_failure(Failure::cannot_run, command.substr(0, command.find(' ')));
        return -1;
    }
    pid_t ended = -1;
    do ended = waitpid(pid, &status, 0);
    while (ended < 0 && errno == EINTR);
    return ended == pid ? status : -1;
}
