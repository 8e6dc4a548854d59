#include "hw/ports.h"

#include <atomic>
#include <functional>

#include <pthread.h>
#include <unistd.h>

#include "recorded_ports.h"

namespace {

void* callFunction(void* function) {
    (*static_cast<const std::function<void()>*>(function))();
    return nullptr;
}

pthread_t startThread(const std::function<void()>& function) {
    pthread_t thread{};
    EXPECT_EQ(pthread_create(&thread, nullptr, callFunction,
                             const_cast<std::function<void()>*>(&function)),
              0);
    return thread;
}

void runThread(const std::function<void()>& function) {
    pthread_join(startThread(function), nullptr);
}

/** A register that is busy for ever. */
class EndlesslyBusy : public k4sim::PortSpace {
public:
    std::atomic<int> reads{0};

    std::uint8_t in(std::uint16_t) override {
        ++reads;
        return 0x80;
    }
    void out(std::uint16_t, std::uint8_t) override {}
};

} // namespace

TEST(Ports, carry_port_number_and_byte) {
    RecordedPorts ports;
    const AttachedPorts attached(ports);
    for (const std::uint16_t port : {0x0000, 0x0080, 0x0A00, 0xD004, 0xFFFF}) {
        char text[32];
        std::snprintf(text, sizeof text, port == 0xD004 ? "w4=a5 r4" : "w@%04x=a5 r@%04x",
                      unsigned{port}, unsigned{port});
        ports.answer(port, {0x5A});
        portOut(port, 0xA5);
        EXPECT_EQ(portIn(port), 0x5A);
        EXPECT_EQ(ports.take(), text);
    }
}

TEST(Ports, are_out_of_reach_without_privilege) {
    RecordedPorts ports;
    const AttachedPorts attached(ports);
    ports.answer(0xD000, {1});
    k4sim::machine().set_privilege_refused(true);
    EXPECT_FALSE(portRequestPrivilege());
    EXPECT_EQ(portIn(0xD000), 0xFF);
    portOut(0xD000, 1);
    EXPECT_EQ(ports.take(), "");

    k4sim::machine().set_privilege_refused(false);
    EXPECT_TRUE(portRequestPrivilege());
    EXPECT_EQ(portIn(0xD000), 1);
}

TEST(Ports, privilege_belongs_to_the_thread_that_asked) {
    RecordedPorts ports;
    const AttachedPorts attached(ports);
    ports.answer(0xD000, {1});
    runThread([] {
        EXPECT_EQ(portIn(0xD000), 0xFF);
        EXPECT_TRUE(portRequestPrivilege());
        EXPECT_EQ(portIn(0xD000), 1);
    });
    runThread([] { EXPECT_EQ(portIn(0xD000), 0xFF); });
    EXPECT_EQ(portIn(0xD000), 1) << "this thread asked before";
}

TEST(Ports, endless_wait_can_be_cancelled) {
    EndlesslyBusy ports;
    const AttachedPorts attached(ports);
    const std::function<void()> wait = [] {
        EXPECT_TRUE(portRequestPrivilege());
        portWaitClear(0xD004, 0x80);
        ADD_FAILURE() << "the wait ended";
    };
    const pthread_t thread = startThread(wait);
    while (ports.reads < 100)
        usleep(1000);
    EXPECT_EQ(pthread_cancel(thread), 0);
    void* result = nullptr;
    EXPECT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
}
