#include "base/failures.h"

#include <cerrno>
#include <cstring>

#include "base/log.h"

namespace {

std::optional<Failure>& first() {
    static std::optional<Failure> failure;
    return failure;
}

}  // namespace

void note_failure(Failure::What what, std::string_view name, int seconds) {
    log_line("%s: %s", name, std::strerror(errno));
    if (!first()) first() = {what, std::string(name), seconds};
}

const std::optional<Failure>& first_failure() { return first(); }

void fail_to_read(const std::string& path) {
    note_failure(Failure::cannot_read, path);
    throw Unreadable{path};
}
