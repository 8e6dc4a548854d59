#include "app/frontpanel_test.h"
#include "unit_run.h"

namespace {

TEST(RequiredKeys, TextNamesWhatIsMissing) {
    const struct {
        bool keypad;
        std::vector<int> pressed;
        const char* text;
    } cases[] = {
        {true, {0, 21}, "123456789*#LRKEACDMh"},
        {true, {5, 5, 11, 19, -1, 22, 0x105, 1 << 20}, "012346789*LRKEACDhH"},
        {true, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21}, ""},
        // Keys A, C, D and the digits are not required without the keypad.
        {false, {16, 17, 18, 0, 7, 9, 10, 11}, "Missing Ml Mr M Esc H Hl Hr "},
        {false, {12, 14, 19, 21}, "Missing Mr Esc Hl "},
        {false, {13, 15, 20}, "Missing Ml M H Hr "},
        {false, {12, 13, 14, 15, 19, 20, 21}, "Missing "},
    };
    for (const auto& c : cases) {
        RequiredKeys keys;
        keys.require(c.keypad);
        for (const int code : c.pressed) {
            EXPECT_FALSE(keys.allSeen()) << code;
            keys.accept(code);
        }
        EXPECT_EQ(characters(keys.text()), c.text);
        EXPECT_EQ(keys.allSeen(), *c.text == '\0' || std::string(c.text) == "Missing ");
    }
}

using Frontpanel = UnitRun;

TEST_F(Frontpanel, PassHoldsUntilTheNextInit) {
    K4STfrontpanel unit;
    unit.init(true);
    unit.commit(); // there is no OLED to bring anything to
    unit.pass();
    EXPECT_EQ(characters(unit.info()), "OK");
    unit.init(false);
    EXPECT_EQ(characters(unit.info()), "Not running");
}

} // namespace
