#include "sim/setup.h"

#include <gtest/gtest.h>

namespace {

using namespace k4sim;

TEST(Setup, SurvivesTheWayThroughTheEnvironment) {
    for (const char* board : {"aes", "plain", "i2c", "engine", "none"}) {
        const std::string defaults = std::string("board ") + board +
                                     "\noperator auto\nseed 9223372036854775809\n"
                                     "limit 9000000000\nreport 17\n";
        for (const char* lists :
             {"",
              "fault key-held 7 5000000000\nfault - %2d 0\nstep 0 1 - a\nstep 3 2 %20-%25 b\n"}) {
            const auto decoded = decode(defaults + lists);
            ASSERT_TRUE(decoded) << board;
            EXPECT_EQ(encode(*decoded), defaults + lists);
        }
    }
    // Every byte that a text can have, and a number that has no end.
    k4sim::Setup setup;
    setup.pace = 1.0 / 3;
    std::string text;
    for (int byte = 0; byte < 256; ++byte)
        text += static_cast<char>(byte);
    setup.faults = {{text, "", 0}};
    const std::string encoded = encode(setup);
    EXPECT_EQ(encoded.find('\0'), std::string::npos);
    const auto decoded = decode(encoded);
    ASSERT_TRUE(decoded) << encoded;
    EXPECT_EQ(decoded->pace, 1.0 / 3);
    EXPECT_EQ(decoded->faults.at(0).name, text);
}

TEST(Setup, MalformedTextIsRefused) {
    for (const char* text :
         {"board",           "board aes",        "board aex\n",    "board aes aes\n",
          "seed -1\n",       "seed 1x\n",        "pace 0\n",       "pace nan\n",
          "limit\n",         "fault a b\n",      "fault a b -1\n", "limit -1\n",
          "limit 1 \n",      "step 0 -1 a b\n",  "fault a %4 0\n", "fault a %zz 0\n",
          "fault %4z b 0\n", "step 0 0 %z4 b\n", "step 4 0 a b\n", "step -1 0 a b\n",
          "step 0 0 a\n",    "operator bob\n",   "colour red\n",   "\n"})
        EXPECT_FALSE(decode(text)) << text;
    EXPECT_TRUE(decode(""));
}

} // namespace
