// What a request does first that finds a change of another one half made, or waiting to be kept
// longer than it may (confirmation.h).
#pragma once

#include "base/text.h"

// True when there is such a change.
bool must_recover();

// Takes it back: its files, what its actions did with them, and the files once more, which those
// actions may have written. The caller has the turn, so perhaps there is no such change any more.
// `message` tells of it. False when a file cannot be put back; the message says so, and nothing may
// be changed before it can.
[[nodiscard]] bool recover(Message& message);
