// Driver descriptions. Whatever is read, each model has a name of its own and an init string that
// fits a line of the modem list.
#include <set>

#include "fuzz.h"
#include "serial/inf_parser.h"

static constexpr std::string_view kPieces =
    "\n[Manufacturer]\n|%M%|=|S\n|\n[Strings]\n|A|B| |\"x\"\n|\"y|\n|\n[S]\n|%A%=I,|%B%|\n[I]\n|"
    "AddReg=R,|R|\n[R]\n|HKR,|Init,|1,,|2,,\"At|0,,|\"AT<cr>\"\n|9,,\"|]|%|[|,|\n;|\r\n";

void check(std::string_view input) {
    std::string text = with_pieces(input.substr(0, 2000), kPieces);
    std::erase(text, '\0');
    InfModels models;
    std::set<std::string_view> names;
    find_models(text, models);
    for (const InfModem& model : models.list) {
        expect(names.insert(model.Name).second && !model.Name.empty() && !model.Init->empty());
        expect(model.Init->view().find_first_of("\"<\r\n") == std::string::npos);
    }
}
