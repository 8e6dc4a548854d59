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

TEST_F(MachineTest, ResetGivesTheBoardAsked) {
    k4sim::Setup setup;
    setup.board = Board::none;
    machine().reset(setup);
    EXPECT_EQ(machine().device().oled(), nullptr);
    EXPECT_EQ(machine().port_in(0xD000), 0xFF);
    machine().reset();
    EXPECT_NE(machine().device().oled(), nullptr);
}

TEST_F(MachineTest, FaultsOfTheStandInsStrikeFromTheStart) {
    machine().reset(with_fault("no-privilege", "", 0));
    EXPECT_EQ(iopl(3), -1);
    machine().reset(with_fault("thread-create", "1", 0));
    pthread_t thread{};
    const auto body = [](void*) -> void* { return nullptr; };
    EXPECT_EQ(pthread_create(&thread, nullptr, body, nullptr), EAGAIN);
    EXPECT_EQ(iopl(3), 0);
    iopl(0);
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

TEST_F(MachineTest, EventsAreKeptUntilCleared) {
    machine().clear_events();
    machine().event("test", "something", {{"value", std::int64_t{7}}});
    ASSERT_EQ(machine().events().size(), 1u);
    EXPECT_EQ(machine().events()[0].t, scheduler().now());
    EXPECT_EQ(machine().events()[0].source, "test");
    EXPECT_EQ(machine().events()[0].what, "something");
    machine().clear_events();
    EXPECT_TRUE(machine().events().empty());
}

} // namespace
