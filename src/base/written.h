// How the writing of a file ended, and what the functions that promise their callers a number make
// of it.
#pragma once

enum class [[nodiscard]] Written{
    done,          // the file holds the new content, and it is on disk
    missing,       // there is no such file, and none is created
    unreadable,    // the file is there but cannot be read
    no_temporary,  // its temporary file could not be created
    not_written,   // a write failed, for one because the disk is full
    not_renamed,   // a temporary file that the caller named stays and holds the new content
};

// For a writer whose failure changes nothing of what follows: the page tells it all the same
// (failures.h).
constexpr void told(Written) {}

// The numbers of a family of functions; 0 is done.
struct ResultCodes {
    int missing, unreadable, no_temporary, not_written, not_renamed;
};

inline constexpr ResultCodes kProfileCodes = {1, 1, 1, 1, -1};         // profile.h
inline constexpr ResultCodes kEntryCodes = {-37, -37, -37, -37, -37};  // entries.h
inline constexpr ResultCodes kRecordCodes = {1, 1, 1, 1, 3};           // ppp_conf.h
inline constexpr ResultCodes kDialFileCodes = {2, 2, 2, 2, 3};         // dial_files.h, secrets.h
inline constexpr ResultCodes kForwardingCodes = {1, 1, 2, 2, -1};      // process.h
inline constexpr ResultCodes kModemListCodes = {1, 1, 1, 1, -1};       // inf_parser.h

constexpr int code_of(Written written, const ResultCodes& codes) {
    switch (written) {
        case Written::done:
            return 0;
        case Written::missing:
            return codes.missing;
        case Written::unreadable:
            return codes.unreadable;
        case Written::no_temporary:
            return codes.no_temporary;
        case Written::not_written:
            return codes.not_written;
        case Written::not_renamed:
            return codes.not_renamed;
    }
    return codes.not_written;
}
