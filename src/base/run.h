// The only place that starts other programs: each from a vector of words, without a shell, so that
// nothing that was ever typed can become part of a command line; and none for longer than its
// limit.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

// What becomes of a program's standard error: it goes to the web server's log, nowhere, or to where
// its output goes.
enum class Errors { logged, dropped, with_output };

// A program and its words. A bare name is looked for on PATH.
struct CommandLine {
    static constexpr std::size_t kWords = 3;

    std::string_view program;
    std::array<std::string_view, kWords> words;  // "%s" is the word that the caller gives
    int limit;                                   // seconds
    Errors errors = Errors::logged;
};

// Each starts the program in a process group of its own; standard input is /dev/null, and so is
// standard output unless the program is asked. A file without a "#!" line is handed to /bin/sh, as
// execvp(3) does. A program that cannot be started, or that has not ended when its limit is over,
// is noted (failures.h); the latter gets SIGTERM with its whole group, and three seconds later
// SIGKILL. What it started and has left its group, as daemons do, goes on.

// Runs it and waits for it. The status as wait(2) gives it: 0 for success, -1 when it could not be
// started, 127 << 8 when there is no such program, never 0 when it was ended.
int run(const CommandLine& command, std::string_view word);

// Runs it and returns what it printed, at most kAnswer characters; nothing when it could not be
// asked. A program that is missing prints nothing.
inline constexpr std::size_t kAnswer = 65536;
std::optional<std::string> ask(const CommandLine& command, std::string_view word);

// The same for one who judges the answer himself, late or not: with the status, as run() gives it,
// and of a program that has not ended in time it is no failure. That one, or one whose answer
// nobody waits for any more (receiver.h), is killed at once, with its whole group.
struct Answer {
    std::string text;
    int status;
};
std::optional<Answer> probe(const CommandLine& command, std::string_view word);

// Starts it and does not wait.
void start(const CommandLine& command, std::string_view word);
