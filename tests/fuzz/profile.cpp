// Readers and writers of settings files. The input is a key, a value and a file, a line each for
// the first two. A writer changes its own lines only, and its reader finds what it wrote.
#include <unistd.h>

#include <array>
#include <vector>

#include "base/files.h"
#include "base/words.h"
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
    const std::string file = "/tmp/quillstead-fuzz-" + std::to_string(getpid());
    std::string_view rest = input.substr(0, 4096);
    std::string key(take_word(rest, "\n").substr(0, 20)), value(take_word(rest, "\n"));
    std::erase_if(key, [](char c) { return c < 'A' || c > 'z' || c == '['; });
    std::erase_if(value, [](char c) { return c >= 0 && c <= ' '; });
    if (key.empty()) return;
    const std::string content(rest);
    std::vector<char> out(8192);
    expect(replace_file(file, content) == Written::done);
    const auto lines = foreign_lines(file, key);
    expect(SetProfileString("s", key, value, file) == 0);
    expect(foreign_lines(file, key) == lines);
    if (content.find(key + "=") == content.npos) {
        const std::optional<Profile> written = Profile::open(file);
        expect(written && GetStrByKey(key, out, &*written) == 0);
        expect(value.substr(0, kProfileLine - key.size() - 1) == out.data());
    }
    expect(replace_file(file, content) == Written::done &&
           WritePrivateProfileString(file, key, value) == 1);
    expect(foreign_lines(file, key) == lines);
    GetPrivateProfileString(file, key, "&", out);
    expect(value == out.data());
    expect(RemoveEntries(file, std::array{std::string_view(key)}) == 0 &&
           AppendEntry(file, key) == 0);
    expect(AppendEntry(file, key) == kEntryExists && unlink(file.c_str()) == 0);
}
