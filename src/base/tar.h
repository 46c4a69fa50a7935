// Archives of plain files in the ustar interchange format (POSIX.1, pax(1), "ustar Interchange
// Format"): before each file a block of 512 octets that tells of it, the file filled up with NULs
// to whole blocks, and at the end two blocks of NULs. What GNU tar writes by default differs from
// it in nothing that a plain file with a short name needs, so that is read, too.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <ctime>
#include <string>
#include <string_view>

#include "base/io.h"

inline constexpr std::size_t kTarBlock = 512;
inline constexpr std::size_t kTarEnd = 2 * kTarBlock;  // so many NULs end an archive

// Who is handed a file in pieces, and says whether to go on: a reference to a function object,
// which outlives the call.
class PieceTaker {
public:
    template <class Take>
    PieceTaker(const Take& take)  // NOLINT: so that it can be written where it is used
        : object_(&take), call_([](const void* object, std::string_view piece) -> bool {
              return (*static_cast<const Take*>(object))(piece);
          }) {}
    bool operator()(std::string_view piece) const { return call_(object_, piece); }

private:
    const void* object_;
    bool (*call_)(const void*, std::string_view);
};

// Hands on the octets of a file from one on. False when the taker has said so, and when the file
// cannot be read so far.
bool each_piece(int file, off_t from, off_t size, PieceTaker take);

struct TarEntry {
    std::string name;
    mode_t mode = 0;
    uid_t owner = 0;
    gid_t group = 0;
    off_t size = 0;
    std::time_t time = 0;  // of the last change
};

// The block before a file. Its name has at most 100 characters, its size is below 8 GB; an owner or
// time that the format cannot tell becomes the largest that it can.
using TarHeader = std::array<char, kTarBlock>;
TarHeader tar_header(const TarEntry& entry);

// The NULs that follow a file of that size.
constexpr std::size_t tar_padding(off_t size) {
    return (kTarBlock - static_cast<std::size_t>(size) % kTarBlock) % kTarBlock;
}

// Reads an archive from an open file that can be read anywhere (pread(2)) and stays the caller's.
// It takes the same memory for every archive and believes nothing: what it accepts are plain files
// that lie whole in the archive.
class TarReader {
public:
    // `most`: octets at whose end the last file must end.
    TarReader(int archive, off_t most);

    // Goes to the next file; false at the end of the archive, and when there is something else.
    bool next();
    // The file, and where its content lies. Of what was refused the name, as far as it is known.
    [[nodiscard]] const TarEntry& entry() const { return entry_; }
    [[nodiscard]] off_t content_at() const { return content_at_; }
    // What was refused, in words; empty: nothing.
    [[nodiscard]] std::string_view fault() const { return fault_; }

private:
    bool refuse(std::string_view fault);
    bool reads_header(TarHeader& header) const;
    bool takes_header(const TarHeader& header);
    bool ends_here();

    int archive_;
    off_t most_;
    off_t size_ = 0;
    off_t next_ = 0;  // where the next header lies
    off_t content_at_ = 0;
    TarEntry entry_;
    std::string_view fault_;
};
