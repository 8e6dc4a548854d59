#include "sim/machine.h"

#include "sim/models/device.h"
#include "sim/time/scheduler.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/io.h>
#include <unistd.h>

using namespace k4sim;

namespace {

class MachineTest : public testing::Test {
protected:
    MachineTest() { machine().reset(); }
    ~MachineTest() override { machine().reset(); }

    static k4sim::Setup with_fault(const char* name, const char* value, Microseconds at_us) {
        k4sim::Setup setup;
        setup.faults.push_back({name, value, at_us});
        return setup;
    }
};

TEST_F(MachineTest, WhatTheFormerDevicePlannedDoesNotHappen) {
    int happened = 0;
    machine().at(machine().now() + 100, [&] { happened += 1; });
    machine().reset();
    machine().at(machine().now() + 100, [&] { happened += 10; });
    usleep(200);
    EXPECT_EQ(happened, 10);
}

TEST_F(MachineTest, FaultsOfTheDeviceStrikeAtTheirTime) {
    machine().reset(with_fault("speaker-absent", "", machine().now() + 1'000'000));
    const int before = open("/dev/console", O_RDONLY);
    EXPECT_GE(before, 0);
    close(before);
    usleep(1'000'000);
    EXPECT_EQ(open("/dev/console", O_RDONLY), -1);
    EXPECT_EQ(errno, ENOENT);
}

} // namespace
