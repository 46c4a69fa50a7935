#include "base/shell.h"

#include <cstdlib>

int run_command(const std::string& command) { return std::system(command.c_str()); }
