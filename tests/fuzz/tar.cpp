// Archives: what is accepted lies whole in the archive, within the limit, one file behind another.
#include "base/tar.h"

#include <sys/mman.h>
#include <unistd.h>

#include "fuzz.h"

// Every block that looks like a header gets its right sum, which no mutation would find.
static std::string with_sums(std::string_view input) {
    std::string text(input);
    for (std::size_t at = 0; at + kTarBlock <= text.size(); at += kTarBlock) {
        if (text.compare(at + 257, 5, "ustar") != 0) continue;
        text.replace(at + 148, 8, 8, ' ');
        unsigned sum = 0;
        for (const unsigned char c : text.substr(at, kTarBlock)) sum += c;
        for (std::size_t digit = 6; digit-- > 0; sum /= 8)
            text[at + 148 + digit] = static_cast<char>('0' + sum % 8);
    }
    return text;
}

void check(std::string_view input) {
    constexpr std::size_t kMost = 4096;
    const std::string archive = with_sums(input);
    static const Descriptor file(memfd_create("tar", MFD_CLOEXEC));
    expect(ftruncate(file.get(), 0) == 0 &&
           pwrite(file.get(), archive.data(), archive.size(), 0) == std::ssize(archive));
    TarReader reader(file.get(), kMost);
    std::size_t end = 0;
    while (reader.next()) {
        const TarEntry& entry = reader.entry();
        const auto at = static_cast<std::size_t>(reader.content_at());
        const auto size = static_cast<std::size_t>(entry.size);
        expect(reader.fault().empty() && at == end + kTarBlock && entry.size >= 0);
        expect(at + size <= kMost && at + size <= archive.size());
        expect(entry.mode <= 07777 && entry.name.size() <= 256);
        expect(entry.name.find('\0') == entry.name.npos);
        std::string content;
        expect(each_piece(file.get(), reader.content_at(), entry.size,
                          [&](std::string_view piece) { return (content += piece, true); }));
        expect(content == archive.substr(at, size));
        end = at + size + tar_padding(entry.size);
    }
    expect(!reader.fault().empty() || archive.find_first_not_of('\0', end) == archive.npos);
}
