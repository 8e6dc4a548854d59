#include "hw/ports.h"

#include <functional>

#include <pthread.h>

#include "support/ports.h"

namespace {

void runThread(std::function<void()> function) {
    const auto call = [](void* body) -> void* {
        (*static_cast<std::function<void()>*>(body))();
        return nullptr;
    };
    pthread_t thread{};
    EXPECT_EQ(pthread_create(&thread, nullptr, call, &function), 0);
    pthread_join(thread, nullptr);
}

} // namespace

TEST(Ports, PrivilegeBelongsToTheThreadThatAsked) {
    ScriptedPorts ports;
    const AttachedPorts attached(ports);
    ports.answer(0xD000, {1});
    runThread([&] {
        EXPECT_EQ(portIn(0xD000), 0xFF);
        portOut(0xD000, 1);
        EXPECT_EQ(ports.take(), "");
        EXPECT_TRUE(portRequestPrivilege());
        EXPECT_EQ(portIn(0xD000), 1);
    });
    runThread([] { EXPECT_EQ(portIn(0xD000), 0xFF); });
    EXPECT_EQ(portIn(0xD000), 1) << "this thread asked before";
}
