#include "app/required_keys.h"

#include "characters.h"

#include <gtest/gtest.h>
#include <numeric>
#include <string>
#include <vector>

namespace {

std::string textAfter(bool keypad, const std::vector<int>& pressed) {
    RequiredKeys keys;
    keys.require(keypad);
    for (const int code : pressed)
        keys.accept(code);
    return characters(keys.text());
}

TEST(RequiredKeys, TextNamesWhatIsMissing) {
    const struct {
        bool keypad;
        std::vector<int> pressed;
        const char* text;
    } cases[] = {
        {true, {}, "0123456789*#LRKEACDMhH"},
        {true, {0, 21}, "123456789*#LRKEACDMh"},
        {true, {5, 5, 11, 19}, "012346789*LRKEACDhH"},
        {true, {-1, 22, 0x105, 1 << 20}, "0123456789*#LRKEACDMhH"},
        {true, {0, 1, 2, 3, 4, 5, 6, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 20, 21}, "7M"},
        {false, {}, "Missing Ml Mr M Esc H Hl Hr "},
        {false, {12}, "Missing Mr M Esc H Hl Hr "},
        {false, {13, 14}, "Missing Ml Esc H Hl Hr "},
        {false, {15, 19}, "Missing Ml Mr M Hl Hr "},
        {false, {20, 21}, "Missing Ml Mr M Esc H "},
        // Keys A, C, D and the digits are not required without the keypad.
        {false, {16, 17, 18, 0, 7, 9, 10, 11}, "Missing Ml Mr M Esc H Hl Hr "},
    };
    for (const auto& c : cases)
        EXPECT_EQ(textAfter(c.keypad, c.pressed), c.text);
}

TEST(RequiredKeys, AllAreSeenAfterTheLastOne) {
    RequiredKeys keys;
    const auto acceptAll = [&keys](const std::vector<int>& codes) {
        for (const int code : codes) {
            EXPECT_FALSE(keys.allSeen()) << code;
            keys.accept(code);
        }
        EXPECT_TRUE(keys.allSeen());
    };
    std::vector<int> every(22);
    std::iota(every.begin(), every.end(), 0);
    keys.require(true);
    acceptAll(every);
    keys.require(false);
    acceptAll({12, 13, 14, 15, 19, 20, 21});
}

} // namespace
