// The import of modem driver descriptions (INF files): every model gets the init string that the
// registry lines of its install section spell, and its section in the modem list.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"

struct InfModem {
    Text<80> Name;      // display name, and the section's name in the modem list
    Text<80> Init;      // init string
    bool Done = false;  // stands in the merged list
};

// How an import ends.
enum InfResult : int {
    kInfDone = 0,
    kNoManufacturer = 1,  // also: a file cannot be opened, there is nothing to merge
    kNoInstallSection = 2,
    kNoStrings = 3,
    kInfMemory = 4,
    kNoModels = 5,
    kInfNotRenamed = -1,  // also: no path, or nowhere to count
};

// Imports an uploaded file (upload.h says which paths are), and removes it as soon as it could be
// opened. `count` gets the number of models imported, 0 on failure. InfResult; on failure the modem
// list is as it was.
int ParserInfFile(const char* path, int* count);

// Rewrites a file without its NUL bytes, which makes plain text of UTF-16. 0, 1 or -1.
int TxTo1ByteFile(const std::string& path);

// The models of a description that have an init string, in its order; of several with one name the
// last. Whatever the size of the description, it is gone through once. InfResult 0 to 5.
int find_models(std::string_view description, std::vector<InfModem>& models);

// Puts the models into the modem list: new init strings for the modems that it knows, new sections
// for the others. `count` gets the number of models. 0; 1 nothing to merge or a file that could not
// be opened or written, -1 not renamed.
int AddInitStr(std::span<InfModem> models, int* count);
