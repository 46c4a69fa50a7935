// The merge of imported models into the modem list, "/etc/ppp/modem.ini" (modem_list.h).
#pragma once

#include <span>
#include <string_view>

#include "base/text.h"

using InitText = Text<80>;

// Its texts are the caller's.
struct InfModem {
    static constexpr std::size_t kNameSize = 79;

    std::string_view Name;           // display name, and the section's name in the modem list
    const InitText* Init = nullptr;  // init string
};

// Puts models, each with an init string and a name of its own, into the modem list: new init
// strings for the modems that it knows, new sections at its end for the others; all else stays.
// `count` gets the number of models. The temporary file ("Ini", five digits, ".tmp") lies in the
// working directory. 0; 1 nothing to merge, or a file that could not be opened or written; -1 not
// renamed. The list is then as it was.
int AddInitStr(std::span<const InfModem> models, int* count);
