// Readers and writers of settings files. The input is a key, a value and a file, a line each for
// the first two. A writer changes its own lines only, and its reader finds what it wrote.
#include <unistd.h>

#include <array>

#include "base/files.h"
#include "base/replacement.h"
#include "framework/entries.h"
#include "framework/profile.h"
#include "framework/settings.h"
#include "fuzz.h"

// The lines that a writer of the key must leave alone.
static std::vector<std::string> foreign_lines(const std::string& file, const std::string& key) {
    std::vector<std::string> lines;
    for (LineReader in(file); in.next();) {
        std::string_view rest = in.text();
        if (rest != "[s]" && !rest.starts_with(key + "=") && take_word(rest) != key)
            lines.emplace_back(in.text());
    }
    return lines;
}

void check(std::string_view input) {
    const std::string file = "/dev/shm/quillstead-fuzz-" + std::to_string(getpid());
    input = input.substr(0, 4096);
    std::string key(take_line(input).substr(0, 20)), value(take_line(input));
    std::erase_if(key, [](char c) { return c < 'A' || c > 'z' || c == '['; });
    std::erase_if(value, [](char c) { return c >= 0 && c <= ' '; });
    if (key.empty()) return;
    std::array<char, 8192> out;
    expect(replace_file(file, input) == Written::done);
    const auto lines = foreign_lines(file, key);
    expect(SetProfileString("s", key, value, file) == 0 && foreign_lines(file, key) == lines);
    if (input.find(key + "=") == input.npos) {
        const std::optional<Profile> written = Profile::open(file);
        expect(written && GetStrByKey(key, out, &*written) == 0);
        expect(value.substr(0, kProfileLine - key.size() - 1) == out.data());
    }
    expect(replace_file(file, input) == Written::done);
    expect(WritePrivateProfileString(file, key, value) == 1 && foreign_lines(file, key) == lines);
    GetPrivateProfileString(file, key, "&", out);
    expect(value == out.data());
    expect(RemoveEntries(file, std::array{std::string_view(key)}) == 0);
    expect(AppendEntry(file, key) == 0 && AppendEntry(file, key) == kEntryExists);
    expect(unlink(file.c_str()) == 0);
}
