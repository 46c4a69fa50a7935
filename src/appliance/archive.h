// All settings of the appliance as one archive (tar.h), and back. The archive holds passwords.
//
// The entry "quillstead-backup", the first one of those that this program makes, says that an
// archive is whole: a file of the settings that it does not hold was not there. Of one without that
// entry, which somebody has put together, nobody knows; it only replaces.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

#include "appliance/owned_files.h"
#include "base/files.h"
#include "base/io.h"
#include "base/tar.h"
#include "base/written.h"

// An archive fits into a form with files (cgi-lib.h).
inline constexpr off_t kMostOctets = 16'000'000;
inline constexpr std::size_t kMostEntries = 128;

// ---- taking one ----

// All owned files that are there, open: what replaces one later changes nothing of it.
struct OwnedSet {
    std::vector<std::string> paths;
    std::vector<Descriptor> files;  // the same ones
    off_t archive_size;
};
// Throws Unreadable.
OwnedSet open_owned_files();

// Writes the archive of these files to standard output. A file that can be read no further leaves
// it cut short, which whoever reads it notices.
void put_archive(const OwnedSet& set);

// ---- reading one ----

struct ArchivedFile {
    std::string path;
    const OwnedFile* row;
    mode_t mode;  // it gets: the archive's, within what the row allows
    off_t at;     // where its content lies in the archive
    off_t size;
    FileText present;  // what it takes the hardware address from, where it has one
};

struct Archive {
    Descriptor file;
    std::vector<ArchivedFile> files;
    bool is_whole = false;
    // The first entry that does not belong, made fit to be shown, and what is wrong with it; the
    // entry is empty when it is the archive as such, the fault when nothing is wrong.
    std::string stranger;
    std::string_view fault;
};

// Opens an archive and looks at every entry, in the memory of one. Throws Unreadable, also when
// there is no such file.
Archive open_archive(const std::string& path);

// Owned files that are there and not in a whole archive: with it they go.
std::vector<std::string> files_to_remove(const Archive& archive);

// What restoring the file does. Both throw Unreadable.
enum class Effect { none, replaces, makes };
Effect effect_of(const Archive& archive, const ArchivedFile& file);

// Puts the file in its place, except that the hardware address stays this appliance's: the lines
// MACADDR, HWADDR and wan_hw_addr are those of the file that was there when the archive was opened.
Written restore_file(const Archive& archive, const ArchivedFile& file);
