// The change that a request makes is kept, so that it can be taken back: by whoever looks at the
// history, and by the next request where a crash has left it half made. All that changes a file of
// the settings or what is in force passes here: replacement.h and commands.h.
//
// A folder in /var/lib/quillstead-admin/changes, where there is one; otherwise nothing is kept:
//
//     open          the change in progress, later its number: 000042
//       request     lines: when (seconds since 1970), user, address, page, todo, names of fields
//       1           the old file: a hard link where one can be made, as its successor is a new file
//       1.of        a symbolic link to "MODE USER GROUP PATH", or "- PATH": there was none
//       1.to        the same of what came of it, with a digest in place of the path
//       commands    lines: status, command
//       effects     lines: the names of the queued actions, before the first one runs
//       result      what came of it
//     newest        a symbolic link to the number of the newest change
//     waiting       of the change that waits to be kept, if there is one (waiting.h)
//
// The links tell of a file, for a link is written together with its folder, in one flush.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/turn.h"

// ---- keeping ----

// True where there is a folder for changes.
bool keeps_changes();

// Begins to keep what this request changes, which has the turn. The names are those of the fields
// that it posted; values are kept nowhere. Only where there is a folder for it.
void keep_changes_of(const Request& request, const std::vector<std::string>& names);

// False for files of /tmp, /var and /run: logs and states.
bool is_setting(const std::string& path);

// Keeps a setting that is about to be replaced, removed or given another mode, once a request.
// False when it cannot be kept, which is noted (failures.h): the file must stay as it is then, and
// end_change() puts back what was changed before it.
[[nodiscard]] bool keep_old(const std::string& path);

// Notes a command that acted, and the actions that are to run.
void keep_command(std::string_view command, int status);
void keep_effects(std::span<const std::string_view> names);

// Says what came of the request; without it the request broke off.
void keep_result(std::string_view result);
// What was said.
const std::string& own_result();

// All that this request has changed is put back when it ends, and no change is kept: for one that
// is worth nothing unless it is whole.
void give_up_change();

// Finishes the change: it has a number from now on. Also called when the process exits.
void end_change();

// When this request has changed files it leaves its change waiting to be kept, for so many seconds
// from its end on (waiting.h).
void wait_after_change(int seconds);
// True from the first of these files on until the change ends.
bool own_change_waits();
// The change that waits ends waiting with the end of this one, which has undone it.
void end_waiting_with_change();

// ---- reading ----

// A file as it was: nothing of it when there was none.
struct FileMark {
    mode_t mode;
    uid_t owner;
    gid_t group;
};
struct KeptFile {
    unsigned number;
    std::string path;
    std::optional<FileMark> old;
    std::optional<FileMark> made = {};     // what the change left
    std::optional<std::string> left = {};  // a digest of that; "-": no file
};
struct Change {
    unsigned number = 0;
    long time = 0;
    Request request;
    std::vector<std::string> fields;
    std::vector<KeptFile> files;
    std::vector<std::string> commands;
    std::vector<std::string> effects;
    std::string result;
    std::string damage;  // what of it cannot be read; empty: all is well
};

// The number of the change that this request makes; 0 while it has changed nothing.
unsigned own_change();
// The number of the newest change, this request's own included; 0 without one.
unsigned newest_change();
// The numbers of all changes, in order.
std::vector<unsigned> kept_changes();
Change read_change(unsigned number);
// The old content of a file; nothing when it is damaged.
std::optional<std::string> old_content(const Change& change, const KeptFile& file);

// ---- after a crash ----

// True when a request that had the turn has left its change half made. Whoever has the turn then
// takes it back: the files, then what its actions made of them, and the files again, which those
// actions may have written.
bool is_interrupted();

// Puts the files of the interrupted change back as they were before it. What this request does goes
// into that change until end_change(). Doing it twice does the same as doing it once. False when a
// file cannot be put back; the change stays interrupted.
[[nodiscard]] bool take_back_interrupted();

// The interrupted change.
Change interrupted_change();
