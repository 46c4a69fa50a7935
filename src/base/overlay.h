// A preview of what a request would do: from begin_preview() to end_preview() nothing that it does
// reaches the appliance. What it writes is kept in the memory of the process, where nobody else can
// read it and of which nothing stays, however the process ends; replacement.h writes there, and
// files.h reads from there. Commands and signals that act (commands.h) are noted in their order.
#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>
#include <vector>

#include "base/files.h"
#include "base/written.h"

void begin_preview();
// Forgets what would be as it is on the disk.
void end_preview();
bool in_preview();

// ---- what it shows ----

// A file as the request would leave it.
struct ForeseenFile {
    std::string path;
    bool exists = true;
    mode_t mode = 0;
    uid_t owner = 0;
    gid_t group = 0;
    FileText text = {};   // none: the content stays as it is
    bool is_cut = false;  // emptied where it lies, as logs are
};

// The files that would be changed, in the order in which that would first happen.
std::vector<ForeseenFile>& foreseen_files();

void foresee_command(std::string text);
const std::vector<std::string>& foreseen_commands();

// ---- the files in a preview, for files.h and replacement.h ----

// The file of that name, or what a link of that name leads to, as it is in the preview; null when
// it is as on the disk.
const ForeseenFile* foreseen_file(const std::string& path);

// stat(2) of a file as this request sees it.
int stat_seen(const std::string& path, struct stat& status);

// What the functions of replacement.h would come to, as far as that can be told without doing it:
// whether there is room is not known. Their failures are noted.
Written foresee_text(ForeseenFile file, const std::string& temporary);
Written foresee_cut(const std::string& path);
Written foresee_removal(const std::string& path);
void foresee_mode(const std::string& path, const struct stat& status, mode_t mode);
