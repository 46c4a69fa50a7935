// What went wrong in this request. Whatever a caller makes of a result, the page that answers tells
// the first failure (msgfile.h): nothing fails in silence.
#pragma once

#include <optional>
#include <string>
#include <string_view>

struct Failure {
    enum What { cannot_read, cannot_write, cannot_run, not_ended } what;
    std::string name;  // the file, or the command
    int seconds = 0;   // that a command was given to end
};

// Remembers a failure, unless there has been one before.
void note_failure(Failure::What what, std::string_view name, int seconds = 0);

// The first failure of the request; nothing while all went well.
const std::optional<Failure>& first_failure();

// A file that is there and cannot be opened or read. Whoever took it for a missing one would put
// factory settings in the place of what it holds; so it ends whatever needs the file.
struct Unreadable {
    std::string path;
};

// Notes the failure and throws Unreadable.
[[noreturn]] void fail_to_read(const std::string& path);
