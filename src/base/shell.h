// The only place that runs commands.
#pragma once

#include <string>

// Runs `command` with /bin/sh -c and waits for it. The command is constant text, or constant text
// with values that have been checked for the place where they stand. What it prints and does not
// redirect itself goes to /dev/null, as it reads from there: the program's own output is the
// answer. Returns the status as system(3) does: 0 for success, -1 when no shell could be run, which
// is noted (failures.h).
int run_command(const std::string& command);
