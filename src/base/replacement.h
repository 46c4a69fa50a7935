// Files replaced as a whole: a file that stood whole before a request stands whole after it, old or
// new. Every failure is noted (failures.h), whatever becomes of the result. In a preview
// (overlay.h) nothing but the memory of the process is written.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "base/files.h"
#include "base/written.h"

// Modes of new files.
inline constexpr mode_t kPlainMode = 0644;
inline constexpr mode_t kSecretMode = 0600;  // everything that passwords stand in or pass through

// What is asked before a file is replaced, removed or given another mode; where it says no, that is
// a failed write. It is how changes are kept (journal.h); at first nobody is asked.
using BeforeChange = bool (*)(const std::string& path);
void keep_before_changes(BeforeChange asked);

// The new content of a file, put in the target's place in one step. Where it equals the old one,
// byte for byte, the file stays as it is: nothing wears out the flash for nothing. Otherwise it
// goes to a temporary file, created anew with mode 0600 (a link in its place is not followed), is
// flushed to disk, gets owner and mode of the file that it replaces unless `mode` sets one, and is
// renamed; its folder is flushed with flush_folders(). Where the target is a link, the file that it
// leads to is replaced, through a hidden file beside that one, and made when it is missing. Where
// temporary file and target lie on different file systems the content is first copied beside the
// target. Until the rename the old file is whole.
class Replacement {
public:
    // mode: kKeepMode, or the mode of the new file. A new file gets kPlainMode when the mode is
    // kept.
    static constexpr mode_t kKeepMode = static_cast<mode_t>(-1);

    // An empty `temporary` stands for a hidden file beside the target.
    Replacement(const std::string& target, std::string temporary, mode_t mode = kKeepMode);
    explicit Replacement(const std::string& target, mode_t mode = kKeepMode)
        : Replacement(target, "", mode) {}
    ~Replacement();  // of a replacement that is not installed nothing stays
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    // Appends text; an error shows in the result of install().
    void write(std::string_view text);
    void write_line(std::string_view text);
    // Ends the last line written when it has no line end yet, so that a line can follow.
    void end_line();
    // Puts the content in place. not_renamed: a temporary file that the caller named holds it.
    Written install();
    // Makes a file that was missing a moment ago. Requests that do not wait for each other may do
    // so at the same time: the first one's stays, and is as good. (Replacement::for_new)
    Written create();
    // A replacement whose temporary file no other process uses.
    static Replacement for_new(const std::string& target, mode_t mode);

private:
    void hand_on();
    bool knows_old();
    [[nodiscard]] bool has_old_size(std::size_t size) const {
        return static_cast<std::size_t>(status_.st_size) == size;
    }
    bool equals_old_bytes();
    bool copy_equal_bytes();
    void leave_old_bytes();
    bool finish(Descriptor& file);
    bool copy_beside(const std::string& beside);
    Written put_in_place();
    Written adopt_mode();
    void keep_new_text();
    Written foresee();
    Written fail(Written how);

    std::string name_;  // as readers of the file know it
    std::string target_;
    std::string temporary_;
    bool hidden_;
    mode_t mode_;
    uid_t owner_;
    gid_t group_;
    bool has_old_;
    struct stat status_ {};    // of the old file, later of the new one
    bool is_telling_ = false;  // its time (kept_texts.h)
    FileText old_text_;        // where it is known
    Descriptor old_;           // else the old file, while what was written equals its beginning
    std::size_t equal_ = 0;    // so many bytes do
    Descriptor file_;          // the temporary file, from the first difference on
    std::string pending_;      // written, but not compared or handed on yet: of a short text, all
    bool is_short_ = true;
    bool line_open_ = false;
    bool removable_ = false;  // a temporary file is there, of no use to anybody
    Written state_ = Written::done;
};

// Flushes the folders of what was replaced or removed, each once: before a command runs, which may
// take the appliance down, before the answer tells what came of it, and when the process exits.
void flush_folders();

// Writes `text` as the whole content of `target` (Replacement).
Written replace_file(const std::string& target, std::string_view text,
                     mode_t mode = Replacement::kKeepMode);

enum class IfMissing { fail, create };

// Rewrites a file line by line: `edit` gets each line with its line end and writes what takes its
// place; `finish` writes what follows the last line.
template <class Edit, class Finish>
Written rewrite_lines(const std::string& target, const std::string& temporary, mode_t mode,
                      IfMissing if_missing, Edit edit, Finish finish) try {
    LineReader in(target);
    if (!in.is_open() && if_missing == IfMissing::fail) return Written::missing;
    Replacement out(target, temporary, mode);
    while (in.is_open() && in.next()) edit(in.piece(), out);
    finish(out);
    return out.install();
} catch (const Unreadable&) {
    return Written::unreadable;
}
template <class Edit>
Written rewrite_lines(const std::string& target, const std::string& temporary, mode_t mode,
                      Edit edit) {
    return rewrite_lines(target, temporary, mode, IfMissing::fail, edit, [](Replacement&) {});
}

// Cuts a file to no length, in one step, through the descriptor that was checked (open_regular).
Written empty_file(const std::string& path);

// Removes a file; done also when there is none.
Written remove_file(const std::string& path);

// Makes a file of what was not there a moment ago, with mode 0600, for a folder that strangers may
// write to, too: whatever stood there is removed and no link is followed. Not flushed to disk.
Written write_anew(const std::string& path, std::string_view text);

// Gives a file its mode.
Written set_mode(const std::string& path, mode_t mode);
// Lets everybody run a file.
Written make_executable(const std::string& path);
