// The only place that runs commands.
#pragma once

#include <string>

// Runs `command` with /bin/sh -c and waits for it. The command is constant text, or constant text
// with values that have been checked for the place where they stand; its output is redirected by
// the command itself. Returns the status as system(3) does: 0 for success, -1 when no shell could
// be run.
int run_command(const std::string& command);
