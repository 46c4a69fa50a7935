// The modem list's lookup by name, which no page needs yet.
#include "root.h"
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

}  // namespace
