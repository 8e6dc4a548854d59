#pragma once

#include "app/k4test.h"
#include "baselib/thread/thread.h"
#include "characters.h"
#include "sim/machine/machine.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

// A unit's test needs the record of the main thread.
class UnitRun : public testing::Test {
protected:
    UnitRun() { KLFptcreatemain("PT-Main"); }
};

// Lets virtual time go on until the unit shows the text. Where `patience_us` is not enough,
// false, and the text stands in the failure's message.
inline testing::AssertionResult shows(
    K4test& unit, std::string_view text, k4sim::Microseconds patience_us,
    const std::function<void()>& meanwhile = [] {}) {
    constexpr k4sim::Microseconds step_us = 500;
    const k4sim::Microseconds end = k4sim::machine().now() + patience_us;
    while (characters(unit.info()) != text) {
        if (k4sim::machine().now() >= end)
            return testing::AssertionFailure()
                   << "still \"" << characters(unit.info()) << "\", not \"" << text << "\"";
        meanwhile();
        KLFptdelay(step_us);
    }
    return testing::AssertionSuccess();
}
