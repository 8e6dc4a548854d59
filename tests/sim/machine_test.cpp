#include "sim/machine/machine.h"

#include <gtest/gtest.h>
#include <unistd.h>

using namespace k4sim;

namespace {

TEST(Machine, WhatTheFormerDevicePlannedDoesNotHappen) {
    machine().reset();
    int happened = 0;
    machine().at(machine().now() + 100, [&] { happened += 1; });
    machine().reset();
    machine().at(machine().now() + 100, [&] { happened += 10; });
    usleep(200);
    EXPECT_EQ(happened, 10);
}

} // namespace
