#include "base/files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "base/overlay.h"

namespace {

constexpr std::size_t kBlock = 16384;

// Reads at most so many bytes of a file; returns how many came before its end.
std::size_t read_up_to(const Descriptor& file, const std::string& path, std::span<char> out) {
    std::size_t size = 0;
    ssize_t got = 1;
    while (size < out.size() && got > 0) {
        got = read_some(file.get(), out.data() + size, out.size() - size);
        if (got < 0) fail_to_read(path);
        size += static_cast<std::size_t>(got);
    }
    return size;
}

// Appends at most so many bytes of a file to a text.
void read_more(const Descriptor& file, const std::string& path, std::string& text,
               std::size_t most) {
    const std::size_t before = text.size();
    text.resize(before + most);
    text.resize(before + read_up_to(file, path, std::span(text).subspan(before)));
}

// So much of a file as there was when it was opened: settings are replaced, they do not grow.
FileText read_whole(const Descriptor& file, const std::string& path, std::size_t size) {
    const auto bytes = std::make_shared_for_overwrite<char[]>(size);
    return {bytes, read_up_to(file, path, {bytes.get(), size})};
}

// Room for the texts of most requests; what is not used takes no memory.
constexpr std::size_t kRoom = 4 * kMostKept;
std::array<char, kRoom> room;
std::size_t room_used = 0;

// The text of a file, if it is neither empty nor too long for what is left of the room. Nothing is
// asked of the file before: a position, from which it is read, pipes and folders do not have, and
// devices say nothing or too much. Of a regular file fewer bytes than wanted are all there are.
FileText read_into_room(const Descriptor& file, const std::string& path) {
    const std::size_t wanted = std::min(room.size() - room_used, kMostKept + 1);
    char* const begin = room.data() + room_used;
    const ssize_t got = read_at(file.get(), 0, begin, wanted);
    if (got < 0) fail_to_read(path);
    const auto size = static_cast<std::size_t>(got);
    if (size == 0 || size == wanted) return FileText();
    room_used += size;
    return FileText::of_lasting({begin, size});
}

// A file to be read: its text where that is kept, else the open file, if there is one.
struct Source {
    FileText text;
    Descriptor file;
    std::size_t size = 0;
};

Source source_of(const std::string& path) {
    Source source;
    const ForeseenFile* const foreseen = foreseen_file(path);
    if (foreseen) source.text = foreseen->text;
    if (foreseen && (foreseen->text || !foreseen->exists)) return source;
    source.text = kept_text(path);
    if (source.text) return source;
    const timespec since = this_tick();
    source.file = open_present(path, O_RDONLY);
    if (!source.file.is_open()) {
        if (!means_missing(errno)) fail_to_read(path);
        return source;
    }
    if (may_be_kept(path)) source.text = read_into_room(source.file, path);
    if (!source.text) {
        struct stat status {};
        if (!is_regular(source.file, path, status)) fail_to_read(path);
        source.size = static_cast<std::size_t>(status.st_size);
        if (!may_be_kept(path, source.size)) return source;
        source.text = read_whole(source.file, path, source.size);
    }
    keep_text(path, source.text, std::move(source.file), since);
    return source;
}

}  // namespace

FileText file_text(const std::string& path) {
    const Source source = source_of(path);
    return source.file.is_open() ? read_whole(source.file, path, source.size) : source.text;
}

LineReader::LineReader(const std::string& path, std::size_t limit) : path_(path), limit_(limit) {
    Source source = source_of(path);
    whole_ = std::move(source.text);
    file_ = std::move(source.file);
    rest_ = whole_.view();
}

// Reads another block behind what is left; false at the end of the file.
bool LineReader::read_on() {
    if (!file_.is_open()) return false;
    const std::size_t left = rest_.size();
    block_.erase(0, block_.size() - left);
    read_more(file_, path_, block_, kBlock);
    rest_ = block_;
    return rest_.size() > left;
}

bool LineReader::next() {
    std::size_t size = 0;
    std::size_t feed = std::string_view::npos;
    do {
        feed = rest_.substr(0, limit_).find('\n', size);
        size = std::min(rest_.size(), limit_);
    } while (feed == std::string_view::npos && size < limit_ && read_on());
    piece_ = rest_.substr(0, feed == std::string_view::npos ? limit_ : feed + 1);
    rest_.remove_prefix(piece_.size());
    return !piece_.empty();
}

std::string_view LineReader::text() const {
    std::string_view text = piece_;
    if (text.ends_with('\n')) text.remove_suffix(1);
    return text;
}

bool exists(const std::string& path) {
    struct stat status {};
    if (stat_seen(path, status) == 0) return true;
    if (!means_missing(errno)) fail_to_read(path);
    return false;
}

bool is_passing(std::string_view path) {
    constexpr std::array<std::string_view, 3> kPassing = {"/tmp/", "/var/", "/run/"};
    return std::ranges::any_of(kPassing,
                               [&](std::string_view folder) { return path.starts_with(folder); });
}

std::optional<std::string> read_first_line(const std::string& path, std::size_t limit) {
    LineReader in(path, limit);
    if (!in.is_open()) return std::nullopt;
    in.next();
    return std::string(in.text());
}

std::optional<std::string> read_file(const std::string& path, std::size_t limit) {
    const Source source = source_of(path);
    if (source.text) return std::string(source.text.view().substr(0, limit));
    if (!source.file.is_open()) return std::nullopt;
    std::string text;
    read_more(source.file, path, text, std::min(limit, source.size));
    return text;
}
