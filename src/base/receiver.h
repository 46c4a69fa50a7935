// Who waits for the answer of a view that takes long: the web server, for a browser that may have
// gone. Nobody tells a program so unasked: lighttpd and busybox httpd close their end of its output
// when they cannot pass it on, so something must come to be passed on.
#pragma once

#include "base/deadline.h"

// From here on the end of waiting counts: SIGTERM, SIGHUP and SIGPIPE, and an output that nobody
// reads. For views alone: a request that acts ends what it has begun.
void watch_receiver();

// False when nobody waits any more; true also while that is not watched. While it is, each call
// writes a line of the answer's head to standard output, which must not have got any of it yet.
bool receiver_waits();

// Waits until one of the events (poll(2)) comes to the descriptor, an error or a hang-up included.
// False when the time is over or nobody waits any more.
bool wait_for(int fd, short events, const Deadline& deadline);
