// Driver descriptions. Input octets from 0x80 on stand for pieces of the grammar. Whatever is read,
// each model has a name of its own and an init string that fits a line of the modem list.
#include <cstdlib>
#include <set>

#include "framework/profile.h"
#include "serial/inf_parser.h"

namespace {

constexpr std::string_view kPieces =
    "\n[Manufacturer]\n|%M%|=|S\n|\n[Strings]\n|A|B| |\"x\"\n|\"y|\n|\n[S]\n|%A%=I,|%B%|\n[I]\n|"
    "AddReg=R,|R|\n[R]\n|HKR,|Init,|1,,|2,,\"At|0,,|\"AT<cr>\"\n|9,,\"|]|%|[|,|\n;|\r\n";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    std::vector<std::string_view> pieces;
    for (std::string_view rest = kPieces; !rest.empty();) pieces.push_back(take_word(rest, "|"));
    std::string text;
    for (std::size_t i = 0; i < std::min<std::size_t>(size, 2000); ++i)
        text += data[i] >= 0x80 ? std::string(pieces[data[i] % pieces.size()])
                                : std::string(data[i] != 0, static_cast<char>(data[i]));
    std::vector<InfModem> models;
    std::set<std::string_view> names;
    find_models(text, models);
    for (const InfModem& model : models) {
        if (!names.insert(model.Name).second || model.Name.empty()) std::abort();
        if (model.Init.empty() || model.Init.view().find_first_of("\"<\r\n") != std::string::npos)
            std::abort();
    }
    return 0;
}
