// The program, which leaves every file that it has foreseen in a folder, byte for byte and with its
// mode, for a test to compare with what the request itself makes of them. A "/" becomes a "%".

#define main answer_request
#include "entry/nat_main.cpp"  // NOLINT: the program as it is
#undef main

#include <algorithm>

#include "base/files.h"
#include "base/overlay.h"
#include "base/replacement.h"

int main() {
    const int status = answer_request();
    for (const ForeseenFile& file : foreseen_files()) {
        if (!file.exists) continue;
        std::string name = file.path;
        std::replace(name.begin(), name.end(), '/', '%');
        const FileText text = file.text ? file.text : file_text(file.path);
        if (replace_file("/.harness/foreseen/" + name, text.view(), file.mode) != Written::done)
            return 1;
    }
    return status;
}
