// The change that waits to be kept and is taken back when nobody keeps it in time; one at most. Its
// mark lies beside the changes (journal.h), where it is whole at every moment:
//
//     waiting     a symbolic link to "NUMBER END BOOT TIME"
//
// END are milliseconds since the boot of that id, so that neither whoever sets the clock nor the
// next start gives the change more time. TIME, in seconds since 1970, is for those who look.
#pragma once

#include <cstdint>
#include <optional>

// Seconds that a change may wait.
inline constexpr int kShortestWait = 30;
inline constexpr int kLongestWait = 600;

struct Waiting {
    unsigned number = 0;
    std::int64_t end = 0;  // in milliseconds since the boot
    bool is_of_this_boot = true;

    // 0 when the time is over.
    [[nodiscard]] long milliseconds_left() const;
    // The same in seconds, of which one that has begun is whole.
    [[nodiscard]] long seconds_left() const;
    // Sleeps until the time is over, also while the appliance itself sleeps.
    void sleep_until_end() const;
};

// The mark. The disk is looked at once, and again when this process has changed the mark or forgets
// what it has seen, as whoever gets the turn must.
std::optional<Waiting> find_waiting();
void forget_waiting();

// Makes the mark, or puts a new one in its place; it is on disk then. False on an error.
[[nodiscard]] bool mark_waiting(unsigned number, int seconds);

// Removes the mark, on disk, too. True also where there is none. False on an error, which is noted
// (failures.h).
[[nodiscard]] bool end_waiting();
