// How the writers of the files that the dial-up daemons read end.
#pragma once

#include "base/files.h"

enum WriterResult : int { kDone = 0, kNoRecord = 1, kNotWritten = 2, kNotRenamed = 3 };

constexpr int result_of(Replaced replaced) {
    if (replaced == Replaced::done) return kDone;
    return replaced == Replaced::not_renamed ? kNotRenamed : kNotWritten;
}

constexpr int result_of(Rewritten rewritten) {
    if (rewritten == Rewritten::done) return kDone;
    return rewritten == Rewritten::not_renamed ? kNotRenamed : kNotWritten;
}
