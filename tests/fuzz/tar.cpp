// Archives: what is accepted lies whole in the archive, within the limit, one file behind another.
#include "base/tar.h"

#include <sys/mman.h>
#include <unistd.h>

#include <numeric>

#include "fuzz.h"

// Every block that looks like a header gets its right sum, which no mutation would find.
std::string with_sums(std::string_view input) {
    std::string text(input);
    for (std::size_t at = 0; at + kTarBlock <= text.size(); at += kTarBlock) {
        if (text.compare(at + 257, 5, "ustar") != 0) continue;
        text.replace(at + 148, 8, 8, ' ');
        const auto add = [](unsigned sum, char c) { return sum + static_cast<unsigned char>(c); };
        const std::string_view block = std::string_view(text).substr(at, kTarBlock);
        unsigned sum = std::accumulate(block.begin(), block.end(), 0U, add);
        for (std::size_t digit = 6; digit-- > 0; sum /= 8)
            text[at + 148 + digit] = static_cast<char>('0' + sum % 8);
    }
    return text;
}

void check(std::string_view input) {
    constexpr off_t kMost = 4096;
    const std::string sealed = with_sums(input);
    input = sealed;
    static const Descriptor file(memfd_create("tar", MFD_CLOEXEC));
    expect(ftruncate(file.get(), 0) == 0);
    expect(pwrite(file.get(), input.data(), input.size(), 0) == std::ssize(input));
    TarReader reader(file.get(), kMost);
    off_t at = 0;
    while (reader.next()) {
        const TarEntry& entry = reader.entry();
        expect(reader.fault().empty() && reader.content_at() == at + off_t{kTarBlock});
        at = reader.content_at() + entry.size;
        expect(entry.size >= 0 && at <= kMost && at <= std::ssize(input));
        at += static_cast<off_t>(tar_padding(entry.size));
        expect(entry.mode <= 07777 && entry.name.size() <= 256);
        expect(entry.name.find('\0') == entry.name.npos);
        std::string content;
        expect(each_piece(file.get(), reader.content_at(), entry.size, [&](std::string_view piece) {
            content += piece;
            return true;
        }));
        expect(content == input.substr(static_cast<std::size_t>(reader.content_at()),
                                       static_cast<std::size_t>(entry.size)));
    }
    expect(!reader.fault().empty() ||
           input.substr(static_cast<std::size_t>(at)).find_first_not_of('\0') == input.npos);
}
