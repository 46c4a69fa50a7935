// The modem list's lookup by name, which no page needs yet, and why a driver description is
// useless, which no page tells.
#include "root.h"
#include "serial/inf_parser.h"
#include "serial/modem_list.h"

namespace {

TEST_F(Root, AnInitStringIsFoundByTheModemsName) {
    Text<8> init = "old";
    EXPECT_EQ(get_init_by_modem(init, "A"), 1);
    put_file(ModemFile,
             "[A]\r\n\r\nX=1\r\nInitString=ATZ\r\n[B]\n[A]\nInitString=2\n[C]\nX=1\n[D]");
    const std::pair<const char*, int> cases[] = {{"B", 2}, {"C", 2}, {"D", 3}, {"a", 3}, {"X", 3}};
    for (const auto& [name, result] : cases)
        EXPECT_EQ(get_init_by_modem(init, name), result) << name;
    EXPECT_EQ(init, "old");
    EXPECT_EQ(get_init_by_modem(init, "A"), 0);
    EXPECT_EQ(init, "ATZ");
}

TEST(Inf, UselessDescriptions) {
    const std::string maker = "[Manufacturer]\n%M%\n", named = maker + "%M% = S\n";
    const std::pair<std::string, int> cases[] = {
        {"", kNoManufacturer},
        {maker, kNoStrings},  // a section that ends with the file may name nothing
        {maker + "[Strings]\n", kNoInstallSection},
        {named, kNoStrings},
        {named + "[Strings]\n", kInfDone},
        {named + "[Strings]\nA = \"a\"\n", kNoModels}};
    for (const auto& [text, result] : cases) {
        std::vector<InfModem> models;
        EXPECT_EQ(find_models(text, models), result) << text;
        EXPECT_TRUE(models.empty());
    }
}

}  // namespace
