// Processes that outlive the request that has started them.
#pragma once

// Forks a process that the web server neither waits for nor ends with itself: in a session of its
// own, nobody's child, with /dev/null for its three standard descriptors and none besides, at "/",
// with the usual mask (022). True in that process, which ends with _exit(2), as what runs at the
// exit is the business of the process that goes on; false in that one, also when none can be made.
[[nodiscard]] bool detach();
