#include "app/frontpanel_test.h"

#include "characters.h"

#include <gtest/gtest.h>

namespace {

TEST(Frontpanel, HasNothingToShowBeforeItsTestRuns) {
    KLFptcreatemain("PT-Main");
    K4STfrontpanel unit;
    unit.init(true);
    EXPECT_EQ(characters(unit.info()), "Not running");
    EXPECT_TRUE(unit.displayHeld());
    EXPECT_FALSE(unit.abortRequested());
    unit.commit(); // there is no OLED to bring anything to
    EXPECT_EQ(unit.start(false), 0);
    unit.waitend();
}

TEST(Frontpanel, PassHoldsUntilTheNextInit) {
    KLFptcreatemain("PT-Main");
    K4STfrontpanel unit;
    unit.init(false);
    unit.pass();
    EXPECT_EQ(characters(unit.info()), "OK");
    unit.init(false);
    EXPECT_EQ(characters(unit.info()), "Not running");
}

} // namespace
