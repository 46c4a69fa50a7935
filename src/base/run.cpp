#include "base/run.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <vector>

#include "base/deadline.h"
#include "base/failures.h"
#include "base/files.h"
#include "base/io.h"
#include "base/receiver.h"
#include "base/turn.h"

namespace {

constexpr int kGrace = 3;  // seconds between the request to end and the end
constexpr char kShell[] = "/bin/sh";
constexpr int kMissing = 127 << 8;  // what a shell says of a program that is not there

// The end of a child is a signal that is waited for, so it must not be delivered meanwhile.
class ChildSignal {
public:
    ChildSignal() {
        sigemptyset(&set_);
        sigaddset(&set_, SIGCHLD);
        sigprocmask(SIG_BLOCK, &set_, &before_);
    }
    ~ChildSignal() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
    ChildSignal(const ChildSignal&) = delete;
    ChildSignal& operator=(const ChildSignal&) = delete;

    [[nodiscard]] const sigset_t& before() const { return before_; }
    void wait(int milliseconds) const {
        const timespec time = {milliseconds / 1000, (milliseconds % 1000) * 1000000L};
        sigtimedwait(&set_, nullptr, &time);
    }

private:
    sigset_t set_{};
    sigset_t before_{};
};

// How a program starts: its descriptors, its process group and its signals.
class Start {
public:
    // output: the descriptor that becomes its standard output, or -1 for /dev/null.
    Start(const CommandLine& command, int output, const sigset_t& mask) {
        posix_spawn_file_actions_init(&files_);
        posix_spawnattr_init(&attributes_);
        open_null(STDIN_FILENO, O_RDONLY);
        if (output >= 0)
            note(posix_spawn_file_actions_adddup2(&files_, output, STDOUT_FILENO));
        else
            open_null(STDOUT_FILENO, O_WRONLY);
        if (command.errors == Errors::dropped) open_null(STDERR_FILENO, O_WRONLY);
        if (command.errors == Errors::with_output)
            note(posix_spawn_file_actions_adddup2(&files_, STDOUT_FILENO, STDERR_FILENO));
        note(
            posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK));
        note(posix_spawnattr_setsigmask(&attributes_, &mask));
    }
    ~Start() {
        posix_spawn_file_actions_destroy(&files_);
        posix_spawnattr_destroy(&attributes_);
    }
    Start(const Start&) = delete;
    Start& operator=(const Start&) = delete;

    // 0, or the error.
    int spawn(pid_t& pid, const std::string& program, std::vector<char*>& words) {
        if (failed_) return failed_;
        words.push_back(nullptr);
        return posix_spawn(&pid, program.c_str(), &files_, &attributes_, words.data(), environ);
    }

private:
    void note(int error) { failed_ = failed_ ? failed_ : error; }
    void open_null(int fd, int flags) {
        note(posix_spawn_file_actions_addopen(&files_, fd, "/dev/null", flags, 0));
    }
    posix_spawn_file_actions_t files_{};
    posix_spawnattr_t attributes_{};
    int failed_ = 0;
};

// Where a program lies: a bare name in the first folder of PATH that has it.
std::string path_of(std::string_view program) {
    if (program.find('/') != program.npos) return std::string(program);
    const char* path = std::getenv("PATH");
    std::string_view rest = path ? path : "/sbin:/bin:/usr/sbin:/usr/bin";
    while (!rest.empty()) {
        const std::string_view folder = rest.substr(0, rest.find(':'));
        rest.remove_prefix(std::min(folder.size() + 1, rest.size()));
        std::string candidate = std::string(folder) + "/" + std::string(program);
        if (access(candidate.c_str(), X_OK) == 0) return candidate;
    }
    return std::string(program);
}

std::string name_of_program(const CommandLine& command) {
    return name_of(std::string(command.program));
}

// Starts the program; its process, or -1 with errno.
pid_t spawn(const CommandLine& command, std::string_view word, int output, const sigset_t& mask) {
    const std::string path = path_of(command.program);
    std::vector<std::string> texts = {std::string(command.program)};
    for (const std::string_view pattern : command.words)
        if (!pattern.empty()) texts.emplace_back(pattern == "%s" ? word : pattern);
    std::vector<char*> words;
    words.reserve(texts.size() + 1);
    for (std::string& text : texts) words.push_back(text.data());
    Start start(command, output, mask);
    pid_t pid = -1;
    // A server that ignores its children would hide the commands' results.
    signal(SIGCHLD, SIG_DFL);
    errno = start.spawn(pid, path, words);
    if (errno != ENOEXEC) return errno == 0 ? pid : -1;
    std::string shell = kShell;
    std::string script = path;
    words = {shell.data(), script.data()};
    for (auto text = texts.begin() + 1; text != texts.end(); ++text) words.push_back(text->data());
    errno = start.spawn(pid, kShell, words);
    return errno == 0 ? pid : -1;
}

// The status of a program that was not started. One that is missing has always been a command that
// fails, which is for its caller to judge.
int status_of_none(const CommandLine& command) {
    if (errno == ENOENT || errno == EACCES) return kMissing;
    note_failure(Failure::cannot_run, name_of_program(command));
    return -1;
}

// True when the child has ended within the time.
bool ends_within(pid_t pid, const Deadline& deadline, const ChildSignal& signal, int& status) {
    for (;;) {
        const pid_t ended = waitpid(pid, &status, WNOHANG);
        if (ended != 0) return true;  // also when there is no such child: nobody to wait for
        if (deadline.milliseconds_left() == 0) return false;
        signal.wait(deadline.milliseconds_left());
    }
}

// Waits for the end of a program and brings it about when its time is over.
int status_of(pid_t pid, const CommandLine& command, const Deadline& deadline,
              const ChildSignal& signal) {
    int status = -1;
    if (ends_within(pid, deadline, signal, status)) return status;
    errno = ETIME;
    note_failure(Failure::not_ended, name_of_program(command), command.limit);
    kill(-pid, SIGTERM);
    const bool ended = ends_within(pid, Deadline(kGrace), signal, status);
    kill(-pid, SIGKILL);  // what is left of the group, too
    if (!ended)
        while (waitpid(pid, &status, 0) < 0 && errno == EINTR) continue;
    return status ? status : SIGTERM;
}

// Reads what the program prints until it closes its end or the time is over.
std::string read_answer(int from, const Deadline& deadline) {
    std::string answer;
    std::array<char, 4096> block;
    while (wait_for(from, POLLIN, deadline)) {
        const ssize_t got = read_some(from, block.data(), block.size());
        if (got <= 0) break;
        // What is too much is taken from it all the same, so that it can come to its end.
        const std::size_t room = kAnswer - answer.size();
        answer.append(block.data(), std::min(static_cast<std::size_t>(got), room));
    }
    return answer;
}

// A program that is being asked; its process is -1 when it was not started, as errno tells.
struct Asked {
    Descriptor answer;
    pid_t pid = -1;
};

// Nothing when there is no pipe for its answer.
std::optional<Asked> begin_to_ask(const CommandLine& command, std::string_view word,
                                  const ChildSignal& signal) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        note_failure(Failure::cannot_run, name_of_program(command));
        return std::nullopt;
    }
    Asked asked = {Descriptor(ends[0])};
    const Descriptor writer(ends[1]);
    asked.pid = spawn(command, word, writer.get(), signal.before());
    if (asked.pid < 0 && status_of_none(command) < 0) return std::nullopt;
    return asked;
}

// Ends a program that is asked, unless it has ended: it changes nothing, so there is nothing that
// it could leave half done.
int status_at_once(pid_t pid) {
    int status = -1;
    if (waitpid(pid, &status, WNOHANG) == 0) {
        kill(-pid, SIGKILL);
        while (waitpid(pid, &status, 0) < 0 && errno == EINTR) continue;
    }
    return status;
}

}  // namespace

int run(const CommandLine& command, std::string_view word) {
    tell_progress(name_of_program(command));
    doubt_files();
    const ChildSignal signal;
    const Deadline deadline(command.limit);
    const pid_t pid = spawn(command, word, -1, signal.before());
    const int status =
        pid < 0 ? status_of_none(command) : status_of(pid, command, deadline, signal);
    tell_progress("");
    return status;
}

std::optional<std::string> ask(const CommandLine& command, std::string_view word) {
    const ChildSignal signal;
    const Deadline deadline(command.limit);
    const std::optional<Asked> asked = begin_to_ask(command, word, signal);
    if (!asked) return std::nullopt;
    if (asked->pid < 0) return "";
    std::string answer = read_answer(asked->answer.get(), deadline);
    status_of(asked->pid, command, deadline, signal);
    return answer;
}

std::optional<Answer> probe(const CommandLine& command, std::string_view word) {
    const ChildSignal signal;
    const Deadline deadline(command.limit);
    const std::optional<Asked> asked = begin_to_ask(command, word, signal);
    if (!asked) return std::nullopt;
    if (asked->pid < 0) return Answer{"", kMissing};
    Answer answer = {read_answer(asked->answer.get(), deadline), -1};
    // Who has closed its output is about to end; who has not is late.
    const bool is_ending = receiver_waits() && deadline.milliseconds_left() > 0;
    const bool ended = is_ending && ends_within(asked->pid, deadline, signal, answer.status);
    if (!ended) answer.status = status_at_once(asked->pid);
    return answer;
}

void start(const CommandLine& command, std::string_view word) {
    const ChildSignal signal;
    if (spawn(command, word, -1, signal.before()) < 0) status_of_none(command);
}
