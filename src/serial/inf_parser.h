// The import of modem driver descriptions (INF files): every model gets the init string that the
// registry lines of its install section spell, and its section in the modem list.
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "serial/inf_merge.h"

// The models of a description. A small file can list many, so what they consist of is elsewhere.
struct InfModels {
    std::vector<InfModem> list;  // the names are parts of the description,
    std::deque<InitText> inits;  // the init strings are these
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

// Rewrites a file without its NUL bytes, which makes plain text of UTF-16; one without any stays as
// it is. The file is as short-lived as before: it is not flushed to disk. 0; 1 when it cannot be
// read or written.
int TxTo1ByteFile(const std::string& path);

// The models of a description that have an init string, in its order; of several with one name the
// last. Time grows with the size of the description, and memory is at most ten times as much,
// whatever it consists of. InfResult 0 to 5.
int find_models(std::string_view description, InfModels& models);
