// Time limits.
#pragma once

#include <time.h>

#include <algorithm>

// How long a second of a limit is. Tests of limits link one that is shorter.
int milliseconds_of_a_second();

// A moment so many seconds from now, by the kernel's clock, which nobody sets.
class Deadline {
public:
    explicit Deadline(int seconds)
        : end_(now() + static_cast<long long>(seconds) * milliseconds_of_a_second()) {}

    [[nodiscard]] int milliseconds_left() const {
        return static_cast<int>(std::max(end_ - now(), 0LL));
    }

    // The end of the next of so many equal parts of what is left.
    [[nodiscard]] Deadline part(int parts) const {
        Deadline nearer(0);
        nearer.end_ += milliseconds_left() / parts;
        return nearer;
    }

private:
    static long long now() {
        timespec time{};
        clock_gettime(CLOCK_MONOTONIC, &time);
        return static_cast<long long>(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
    }
    long long end_;  // a long of 32 bits would be over after 24 days
};
