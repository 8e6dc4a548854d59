#include "app/frontpanel_test.h"

#include "characters.h"

#include <gtest/gtest.h>

namespace {

TEST(Frontpanel, PassHoldsUntilTheNextInit) {
    KLFptcreatemain("PT-Main");
    K4STfrontpanel unit;
    unit.init(true);
    unit.commit(); // there is no OLED to bring anything to
    unit.pass();
    EXPECT_EQ(characters(unit.info()), "OK");
    unit.init(false);
    EXPECT_EQ(characters(unit.info()), "Not running");
}

} // namespace
