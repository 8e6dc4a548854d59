#include "hw/mainboard_cpld.h"

#include <pthread.h>
#include <typeindex>
#include <typeinfo>

#include "support/ports.h"

namespace {

constexpr std::uint16_t first_base = 0xD000;
constexpr std::uint16_t second_base = 0x0A00;

// Two bases with a CPLD each, or none; all other ports read the same, 0 as an idle link.
class MainboardCpld : public testing::Test {
protected:
    MainboardCpld() { identify(second_base, 0xFF, 0xFF), identify(first_base, 0xFF, 0xFF); }

    void identify(int base, int id, int version) {
        const auto port = static_cast<std::uint16_t>(base);
        ports.answer(port, {static_cast<std::uint8_t>(id)});
        ports.answer(static_cast<std::uint16_t>(port + 1), {static_cast<std::uint8_t>(version)});
    }

    std::function<int()> others = [] { return 0; };
    ScriptedPorts ports{first_base, [this](std::uint16_t) { return others(); }};
    AttachedPorts attached{ports};
    CHmainboardCPLD_K4 board;
};

struct Generation {
    int id;
    int version;
    std::type_index driver;
};

const Generation generations[] = {
    {1, 6, typeid(MymainCPLD_0x01_0x06)},  {1, 7, typeid(MymainCPLD_0x01_0x06)},
    {1, 8, typeid(MymainCPLD_0x01_0x08)},  {1, 9, typeid(MymainCPLD_0x01_0x09)},
    {1, 10, typeid(MymainCPLD_0x01_0x09)}, {1, 16, typeid(MymainCPLD_0x01_0x09)},
    {2, 1, typeid(MymainCPLD_0x02_0x01)},  {2, 2, typeid(MymainCPLD_0x02_0x01)},
};

std::type_index driver_of(int id, int version) {
    for (const Generation& known : generations)
        if (known.id == id && known.version == version) return known.driver;
    return typeid(MymainCPLD_fake);
}

template <class Object>
std::type_index type_of(const Object& object) {
    return typeid(object);
}

} // namespace

TEST_F(MainboardCpld, DetectsByIdAndVersionAtEitherBase) {
    for (const int base : {first_base, second_base})
        for (const int id : {0, 1, 2, 3, 255})
            for (const int version : {0, 1, 2, 3, 5, 6, 7, 8, 9, 10, 11, 15, 16, 17, 136, 255}) {
                identify(base, id, version);
                ASSERT_EQ(board.detect(), 0);
                const std::type_index driver = driver_of(id, version);
                const bool is_known = driver != typeid(MymainCPLD_fake);
                ASSERT_EQ(type_of(*board.cpld), driver) << id << " " << version;
                ASSERT_EQ(board.port, is_known ? base : second_base) << id << " " << version;
                ASSERT_EQ(board.id, is_known || base == second_base ? id : 255);
                ASSERT_EQ(board.version, is_known || base == second_base ? version : 255);
            }
}

TEST_F(MainboardCpld, TheFirstKnownCpldAnswersForDriverAndLink) {
    identify(first_base, 2, 1);
    identify(second_base, 1, 6);
    EXPECT_EQ(board.detect(), 0);
    ports.take();
    board.initSerialLink()->put_cmd(static_cast<unsigned char>(0xAF));
    board.cpld->watchdog(0x107);
    EXPECT_EQ(ports.take(), "w4=01 r5 r6 r4 w6=af wc=07");
}

TEST_F(MainboardCpld, RefusedPrivilegeChangesNothing) {
    identify(second_base, 1, 6);
    EXPECT_EQ(board.detect(), 0);
    const CHCPLDinterface_k4* driver = board.cpld.get();
    identify(first_base, 2, 1);
    k4sim::machine().set_privilege_refused(true);
    EXPECT_FALSE(board.iopl3());
    EXPECT_EQ(board.detect(), -49999);
    k4sim::machine().set_privilege_refused(false);
    EXPECT_TRUE(board.iopl3());
    EXPECT_EQ(board.port, second_base);
    EXPECT_EQ(board.cpld.get(), driver);
}

// Each detection and each opening of the link after each, for every pair of generations: a
// double or a missing deletion is for AddressSanitizer to find.
TEST_F(MainboardCpld, LinkAndDriverAreReplacedInAnyOrder) {
    for (const Generation& before : generations)
        for (const Generation& after : generations) {
            CHmainboardCPLD_K4 other;
            identify(first_base, before.id, before.version);
            EXPECT_EQ(other.detect(), 0);
            other.initSerialLink();
            const CHfplinkK4* link = other.initSerialLink();
            EXPECT_EQ(other.fplink.get(), link);
            const bool is_driver = before.id == 1 && before.version < 9;
            EXPECT_EQ(dynamic_cast<const CHCPLDinterface_k4*>(link) == &*other.cpld, is_driver);
            identify(first_base, after.id, after.version);
            EXPECT_EQ(other.detect(), 0);
            EXPECT_EQ(other.detect(), 0);
            if (is_driver)
                EXPECT_EQ(type_of(*other.fplink), typeid(Myfplink_fake));
            else
                EXPECT_EQ(other.fplink.get(), link);
            other.fplink->panelType = 1; // still alive
            link = other.initSerialLink();
            EXPECT_EQ(link, other.fplink.get());
        }
}

// The engine is busy for ever, until its user is cancelled.
TEST_F(MainboardCpld, LinkIsTheFakeOneAfterACancelledOpening) {
    identify(first_base, 1, 8);
    EXPECT_EQ(board.detect(), 0);
    board.initSerialLink();
    others = [] { return pthread_cancel(pthread_self()), 0x80; };
    const auto open_link = [](void* owner) -> void* {
        EXPECT_TRUE(portRequestPrivilege());
        return static_cast<CHmainboardCPLD_K4*>(owner)->initSerialLink();
    };
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, open_link, &board), 0);
    void* result = nullptr;
    EXPECT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_EQ(type_of(*board.fplink), typeid(Myfplink_fake));
}
