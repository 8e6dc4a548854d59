// Units of the self-test on the virtual device.
#pragma once

#include "app/k4test.h"
#include "baselib/thread/thread.h"
#include "sim/models/device.h"
#include "support/boards.h"

#include <functional>
#include <string>

constexpr k4sim::Microseconds second_us = 1'000'000;

inline std::string characters(const KLTastrc& text) {
    return {text.text(), static_cast<std::size_t>(text.length())};
}

// A unit's test needs the record of the main thread.
class UnitRun : public BoardTest {
protected:
    UnitRun() { KLFptcreatemain("PT-Main"); }

    static k4sim::Device& device() { return k4sim::machine().device(); }

    // How long it takes in seconds; where it never happens, 100.
    static double time_until(const std::function<bool()>& happens) {
        const k4sim::Microseconds begin = k4sim::machine().now();
        while (!happens() && k4sim::machine().now() - begin < 100 * second_us)
            KLFptdelay(1'000);
        return static_cast<double>(k4sim::machine().now() - begin) / second_us;
    }
    static double time_to(K4test& unit, const std::string& text) {
        const double time_s = time_until([&] { return characters(unit.info()) == text; });
        EXPECT_EQ(characters(unit.info()), text);
        return time_s;
    }
    static double time_to_stop(K4test& unit) {
        const k4sim::Microseconds begin = k4sim::machine().now();
        unit.start(false);
        unit.waitend();
        return static_cast<double>(k4sim::machine().now() - begin) / second_us;
    }
};
