#include "appliance/archive.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <optional>

#include "base/failures.h"
#include "base/files.h"
#include "base/replacement.h"
#include "framework/html-lib.h"

namespace {

constexpr char kWholePath[] = "/quillstead-backup";
constexpr std::string_view kWholeText =
    "All settings of an appliance. A file of the settings that is not in this archive was not\n"
    "there, and restoring the archive removes it.\n";

constexpr std::size_t kShownName = 48;  // characters, as a message has no room for more

constexpr std::array<std::string_view, 3> kHardwareKeys = {"MACADDR=", "HWADDR=", "wan_hw_addr="};

// ---- taking ----

off_t room_of(off_t size) { return static_cast<off_t>(kTarBlock + tar_padding(size)) + size; }

void open_owned_file(const std::string& path, OwnedSet& set) {
    off_t size = 0;
    Descriptor file = open_regular(path, O_RDONLY, size);
    if (!file.is_open() && means_missing(errno)) return;
    if (!file.is_open()) fail_to_read(path);
    set.archive_size += room_of(size);
    set.paths.push_back(path);
    set.files.push_back(std::move(file));
}

void open_family(const OwnedFile& row, OwnedSet& set) {
    const std::string folder = folder_of(std::string(row.path));
    const std::unique_ptr<DIR, int (*)(DIR*)> entries{opendir(folder.c_str()), closedir};
    while (const dirent* entry = entries ? readdir(entries.get()) : nullptr) {
        const std::string path = folder + entry->d_name;
        if (owned_file(path) == &row) open_owned_file(path, set);
    }
}

void put_header(const TarEntry& entry) {
    const TarHeader header = tar_header(entry);
    put({header.data(), header.size()});
}

void put_nuls(std::size_t number) {
    static std::array<char, kTarEnd> nuls;
    put({nuls.data(), number});
}

bool put_file(const std::string& path, int file) {
    struct stat status {};
    if (fstat(file, &status) != 0) return false;
    put_header({.name = path.substr(1),
                .mode = status.st_mode & 07777,
                .owner = status.st_uid,
                .group = status.st_gid,
                .size = status.st_size,
                .time = status.st_mtime});
    const auto put_piece = [](std::string_view piece) {
        put(piece);
        return true;
    };
    if (!each_piece(file, 0, status.st_size, put_piece)) return false;
    put_nuls(tar_padding(status.st_size));
    return true;
}

// ---- the hardware address ----

std::string_view hardware_key(std::string_view line) {
    const auto key =
        std::ranges::find_if(kHardwareKeys, [&](auto each) { return line.starts_with(each); });
    return key == kHardwareKeys.end() ? "" : *key;
}

// The first line of a text that begins so, without its line feed; nothing without one.
std::optional<std::string_view> line_with(std::string_view text, std::string_view key) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (line.starts_with(key)) return line;
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return std::nullopt;
}

// The wanted text with the hardware addresses of the present one, and no others. A line that the
// wanted text has not goes to its end: of all sections the first line of a key counts (profile.h).
std::string with_own_address(std::string_view wanted, std::string_view present) {
    std::string text;
    while (!wanted.empty()) {
        const std::string_view line = wanted.substr(0, wanted.find('\n'));
        const std::string_view end = wanted.substr(line.size(), 1);
        wanted.remove_prefix(line.size() + end.size());
        const std::string_view key = hardware_key(line);
        const auto kept = key.empty() ? line : line_with(present, key);
        if (kept) text.append(*kept).append(end);
    }
    for (const std::string_view key : kHardwareKeys) {
        const auto own = line_with(present, key);
        if (!own || line_with(text, key)) continue;
        if (!text.empty() && !text.ends_with('\n')) text += '\n';
        text.append(*own).append("\n");
    }
    return text;
}

// ---- reading ----

bool holds(const Archive& archive, std::string_view path) {
    return std::ranges::any_of(archive.files, [&](const auto& file) { return file.path == path; });
}

// What keeps an entry out; nothing when it belongs.
std::string_view objection(const Archive& archive, const std::string& path, const OwnedFile* row) {
    if (!row) return "no file of the settings";
    if (holds(archive, path)) return "there twice";
    return archive.files.size() < kMostEntries ? "" : "one file too many";
}

// An entry's path: archives that somebody packs again begin with the folder ".".
std::string path_of(std::string_view name) {
    if (name.starts_with("./")) name.remove_prefix(2);
    return name.starts_with('/') ? "" : "/" + std::string(name);
}

void take_entry(Archive& archive, const TarReader& reader) {
    const TarEntry& entry = reader.entry();
    const std::string path = path_of(entry.name);
    if (path == kWholePath && !archive.is_whole) {
        archive.is_whole = true;
        return;
    }
    const OwnedFile* row = owned_file(path);
    archive.fault = objection(archive, path, row);
    if (!archive.fault.empty()) return;
    const mode_t most = most_mode(row->holds);
    const mode_t least = most & 0700;  // its owner's
    archive.files.push_back({path, row, (entry.mode & most) | least, reader.content_at(),
                             entry.size, row->has_hardware_address ? file_text(path) : FileText()});
}

// Hands the content on that the file is to have, in pieces; false when it cannot be read.
bool each_wanted_piece(const Archive& archive, const ArchivedFile& file, PieceTaker take) {
    if (!file.row->has_hardware_address)
        return each_piece(archive.file.get(), file.at, file.size, take);
    std::string text;
    const auto append = [&](std::string_view piece) {
        text += piece;
        return true;
    };
    return each_piece(archive.file.get(), file.at, file.size, append) &&
           take(with_own_address(text, file.present.view()));
}

}  // namespace

OwnedSet open_owned_files() {
    OwnedSet set;
    set.archive_size = room_of(kWholeText.size()) + off_t{kTarEnd};
    for (const OwnedFile& row : kOwnedFiles)
        if (row.is_family())
            open_family(row, set);
        else
            open_owned_file(std::string(row.path), set);
    return set;
}

void put_archive(const OwnedSet& set) {
    constexpr off_t kSize = kWholeText.size();
    put_header({.name = kWholePath + 1, .mode = 0644, .size = kSize, .time = time(nullptr)});
    put(kWholeText);
    put_nuls(tar_padding(kSize));
    for (std::size_t i = 0; i < set.files.size(); ++i)
        if (!put_file(set.paths[i], set.files[i].get())) return;
    put_nuls(kTarEnd);
}

Archive open_archive(const std::string& path) {
    Archive archive;
    archive.file = open_regular(path, O_RDONLY);
    if (!archive.file.is_open()) fail_to_read(path);
    TarReader reader(archive.file.get(), kMostOctets);
    while (archive.fault.empty() && reader.next()) take_entry(archive, reader);
    if (archive.fault.empty()) archive.fault = reader.fault();
    if (!archive.fault.empty())
        archive.stranger = one_line(reader.entry().name.substr(0, kShownName));
    else if (archive.files.empty())
        archive.fault = "empty";
    return archive;
}

std::vector<std::string> files_to_remove(const Archive& archive) {
    std::vector<std::string> paths;
    for (const OwnedFile& row : kOwnedFiles) {
        if (!archive.is_whole || row.is_family()) continue;
        std::string path(row.path);
        if (exists(path) && !holds(archive, path)) paths.push_back(std::move(path));
    }
    return paths;
}

Effect effect_of(const Archive& archive, const ArchivedFile& file) {
    off_t size = 0;
    const Descriptor present = open_regular(file.path, O_RDONLY, size);
    if (!present.is_open() && means_missing(errno)) return Effect::makes;
    off_t at = 0;
    const bool is_same = each_wanted_piece(archive, file, [&](std::string_view piece) {
        std::string_view left = piece;
        const bool is_equal =
            each_piece(present.get(), at, std::ssize(piece), [&](std::string_view old) {
                const bool begins_so = left.starts_with(old);
                left.remove_prefix(std::min(old.size(), left.size()));
                return begins_so;
            });
        at += std::ssize(piece);
        return is_equal;
    });
    return is_same && at == size ? Effect::none : Effect::replaces;
}

Written restore_file(const Archive& archive, const ArchivedFile& file) {
    Replacement out(file.path, file.mode);
    const bool is_read = each_wanted_piece(archive, file, [&](std::string_view piece) {
        out.write(piece);
        return true;
    });
    if (is_read) return out.install();
    note_failure(Failure::cannot_read, file.path);
    return Written::unreadable;
}
