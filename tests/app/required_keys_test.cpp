#include "app/required_keys.h"
#include "unit_run.h"

namespace {

TEST(RequiredKeys, TextNamesWhatIsMissing) {
    const std::tuple<bool, std::vector<int>, std::string> cases[] = {
        {true, {0, 21}, "123456789*#LRKEACDMh"},
        {true, {5, 5, 11, 19, -1, 22, 0x105}, "012346789*LRKEACDhH"},
        // Keys A, C, D and the digits are not required without the keypad.
        {false, {16, 17, 18, 0, 7}, "Missing Ml Mr M Esc H Hl Hr "},
        {false, {12, 14, 19, 21}, "Missing Mr Esc Hl "},
        {false, {12, 13, 14, 15, 19, 20, 21}, "Missing "},
    };
    for (const auto& [keypad, pressed, text] : cases) {
        RequiredKeys keys;
        keys.require(keypad);
        for (const int code : pressed) {
            EXPECT_FALSE(keys.allSeen()) << code;
            keys.accept(code);
        }
        EXPECT_EQ(characters(keys.text()), text);
        EXPECT_EQ(keys.allSeen(), text == "Missing ");
    }
}

} // namespace
