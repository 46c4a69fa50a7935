// What a request does first that finds the change of another one half made.
#pragma once

#include "base/text.h"

// Takes an interrupted change back: its files, what its actions did with them, and the files once
// more, which those actions may have written. The caller has the turn. `message` tells of it. False
// when a file cannot be put back; the message says so, and nothing may be changed before it can.
[[nodiscard]] bool take_back_half_made_change(Message& message);
