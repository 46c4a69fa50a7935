#include "base/tar.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>

namespace {

// Where a header has what.
struct Field {
    std::size_t at, size;
};
constexpr Field kName = {0, 100}, kMode = {100, 8}, kOwner = {108, 8}, kGroup = {116, 8},
                kSize = {124, 12}, kTime = {136, 12}, kSum = {148, 8}, kMagic = {257, 8},
                kPrefix = {345, 155};
constexpr std::size_t kKind = 156;

constexpr std::string_view kUstar = {"ustar\00000", 8};
constexpr std::string_view kGnu = {"ustar  \0", 8};

constexpr std::string_view kCut = "cut short";

// What is no plain file, as the administrator reads it.
struct Kind {
    char mark;
    std::string_view words;
};
constexpr std::array kKinds = std::to_array<Kind>({
    {'1', "a link"},
    {'2', "a link"},
    {'3', "a device"},
    {'4', "a device"},
    {'5', "a folder"},
    {'6', "a pipe"},
    {'g', "a pax header"},
    {'x', "a pax header"},
    {'L', "a long name"},
    {'S', "a sparse file"},
});

std::string_view in(const TarHeader& header, Field field) {
    return {header.data() + field.at, field.size};
}

std::span<char> in(TarHeader& header, Field field) {
    return std::span(header).subspan(field.at, field.size);
}

// Octal digits with zeros in front; the field's last character stays NUL.
void put_number(std::span<char> field, std::uint64_t number) {
    std::span<char> digits = field.first(field.size() - 1);
    number = std::min(number, (std::uint64_t{1} << (3 * digits.size())) - 1);
    for (std::size_t i = digits.size(); i-- > 0; number >>= 3)
        digits[i] = static_cast<char>('0' + (number & 7));
}

// Blanks, octal digits, and then blanks or NULs alone.
std::optional<std::uint64_t> number_in(std::string_view field) {
    field.remove_prefix(std::min(field.find_first_not_of(' '), field.size()));
    const std::string_view digits = field.substr(0, field.find_first_not_of("01234567"));
    const std::string_view rest = field.substr(digits.size());
    if (digits.empty() || rest.find_first_not_of(std::string_view(" \0", 2)) != rest.npos)
        return std::nullopt;
    std::uint64_t number = 0;
    for (const char digit : digits) number = number * 8 + static_cast<unsigned>(digit - '0');
    return number;
}

// The sum of all octets, those of the sum itself taken for blanks.
std::uint64_t sum_of(const TarHeader& header) {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < header.size(); ++i) {
        const bool is_own = i >= kSum.at && i < kSum.at + kSum.size;
        sum += is_own ? ' ' : static_cast<unsigned char>(header[i]);
    }
    return sum;
}

// A text ends at its first NUL, and nothing is hidden behind that.
std::optional<std::string_view> text_in(std::string_view field) {
    const std::string_view text = field.substr(0, field.find('\0'));
    if (field.find_first_not_of('\0', text.size()) != field.npos) return std::nullopt;
    return text;
}

constexpr auto is_empty = [](std::string_view block) {
    return block.find_first_not_of('\0') == block.npos;
};

}  // namespace

bool each_piece(int file, off_t from, off_t size, PieceTaker take) {
    std::array<char, 16384> piece;
    while (size > 0) {
        const auto wanted = static_cast<std::size_t>(std::min<off_t>(size, piece.size()));
        const ssize_t got = read_at(file, from, piece.data(), wanted);
        if (got <= 0 || !take({piece.data(), static_cast<std::size_t>(got)})) return false;
        from += got;
        size -= got;
    }
    return true;
}

TarHeader tar_header(const TarEntry& entry) {
    TarHeader header{};
    std::copy_n(entry.name.begin(), std::min(entry.name.size(), kName.size), header.begin());
    put_number(in(header, kMode), entry.mode);
    put_number(in(header, kOwner), entry.owner);
    put_number(in(header, kGroup), entry.group);
    put_number(in(header, kSize), static_cast<std::uint64_t>(entry.size));
    put_number(in(header, kTime), static_cast<std::uint64_t>(std::max<std::time_t>(entry.time, 0)));
    header[kKind] = '0';
    std::ranges::copy(kUstar, in(header, kMagic).begin());
    put_number(in(header, kSum).first(kSum.size - 1), sum_of(header));
    header[kSum.at + kSum.size - 1] = ' ';
    return header;
}

bool TarReader::refuse(std::string_view fault) {
    fault_ = fault;
    return false;
}

TarReader::TarReader(int archive, off_t most) : archive_(archive), most_(most) {
    struct stat status {};
    if (fstat(archive, &status) == 0) size_ = status.st_size;
}

bool TarReader::reads_header(TarHeader& header) const {
    auto end = header.begin();
    return each_piece(archive_, next_, std::ssize(header), [&](std::string_view piece) {
        end = std::ranges::copy(piece, end).out;
        return true;
    });
}

bool TarReader::next() {
    TarHeader header;
    entry_ = {};
    if (!reads_header(header)) return refuse(kCut);
    if (is_empty({header.data(), header.size()})) return ends_here();
    if (!takes_header(header)) return false;
    content_at_ = next_ + std::ssize(header);
    next_ = content_at_ + entry_.size + static_cast<off_t>(tar_padding(entry_.size));
    if (content_at_ + entry_.size > most_) return refuse("too large");
    return next_ <= size_ || refuse(kCut);
}

// The blocks of NULs are there, and nothing but more of them.
bool TarReader::ends_here() {
    const off_t rest = size_ - next_;
    if (rest < off_t{kTarEnd}) return refuse(kCut);
    return !each_piece(archive_, next_, rest, is_empty) && refuse("goes on behind its end");
}

bool TarReader::takes_header(const TarHeader& header) {
    const bool is_ustar = in(header, kMagic) == kUstar;
    if (!is_ustar && in(header, kMagic) != kGnu) return refuse("no such archive");
    if (number_in(in(header, kSum)) != sum_of(header)) return refuse("a wrong checksum");
    const auto name = text_in(in(header, kName));
    // GNU tar has other things in the place of the name's beginning.
    const auto prefix = is_ustar ? text_in(in(header, kPrefix)) : "";
    if (!name || !prefix) return refuse("a hidden name");
    entry_.name = *prefix;
    if (!prefix->empty()) entry_.name += '/';
    entry_.name += *name;
    const auto kind = std::ranges::find(kKinds, header[kKind], &Kind::mark);
    if (kind != kKinds.end()) return refuse(kind->words);
    if (header[kKind] != '0' && header[kKind] != '\0') return refuse("no plain file");
    const auto mode = number_in(in(header, kMode));
    const auto size = number_in(in(header, kSize));
    if (!mode || !size) return refuse("a number that is none");
    entry_.mode = static_cast<mode_t>(*mode & 07777);
    entry_.size = static_cast<off_t>(*size);
    return true;
}
