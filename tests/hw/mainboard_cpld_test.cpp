#include "hw/mainboard_cpld.h"

#include <thread>
#include <tuple>
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

    void identify(std::uint16_t base, std::uint8_t id, std::uint8_t version) {
        ports.answer(base, {id});
        ports.answer(base + 1, {version});
    }

    std::function<int()> others = [] { return 0; };
    ScriptedPorts ports{first_base, [this](std::uint16_t) { return others(); }};
    AttachedPorts attached{ports};
    CHmainboardCPLD_K4 board;
};

// Their ID, version and driver.
const std::tuple<int, int, std::type_index> generations[] = {
    {1, 6, typeid(MymainCPLD_0x01_0x06)},  {1, 7, typeid(MymainCPLD_0x01_0x06)},
    {1, 8, typeid(MymainCPLD_0x01_0x08)},  {1, 9, typeid(MymainCPLD_0x01_0x09)},
    {1, 10, typeid(MymainCPLD_0x01_0x09)}, {1, 16, typeid(MymainCPLD_0x01_0x09)},
    {2, 1, typeid(MymainCPLD_0x02_0x01)},  {2, 2, typeid(MymainCPLD_0x02_0x01)},
    {129, 6, typeid(MymainCPLD_fake)},     {1, 136, typeid(MymainCPLD_fake)},
    {1, 5, typeid(MymainCPLD_fake)},       {1, 11, typeid(MymainCPLD_fake)},
    {1, 17, typeid(MymainCPLD_fake)},      {1, 1, typeid(MymainCPLD_fake)},
    {2, 3, typeid(MymainCPLD_fake)},       {2, 9, typeid(MymainCPLD_fake)},
};

bool is_fake(const CHfplinkK4& link) { return typeid(link) == typeid(Myfplink_fake); }

} // namespace

// Each generation after and besides each: a double or a missing deletion of links and drivers is
// for AddressSanitizer to find.
TEST_F(MainboardCpld, DetectsAndOpensTheLinkInAnyOrder) {
    for (const auto& first : generations)
        for (const auto& second : generations) {
            const bool is_first = std::get<2>(first) != typeid(MymainCPLD_fake);
            const auto& [id, version, driver] = is_first ? first : second;
            identify(first_base, std::get<0>(first), std::get<1>(first));
            identify(second_base, std::get<0>(second), std::get<1>(second));
            CHmainboardCPLD_K4 other;
            EXPECT_EQ(other.detect(), 0);
            EXPECT_EQ(std::type_index(typeid(*other.cpld)), driver);
            EXPECT_EQ(other.port, is_first ? first_base : second_base);
            EXPECT_TRUE(other.id == id && other.version == version);

            other.initSerialLink();
            const CHfplinkK4* link = other.initSerialLink();
            EXPECT_EQ(other.fplink.get(), link);
            const bool is_driver = id == 1 && version >= 6 && version < 9;
            EXPECT_EQ(dynamic_cast<const CHCPLDinterface_k4*>(link) == &*other.cpld, is_driver);
            identify(first_base, std::get<0>(second), std::get<1>(second));
            EXPECT_EQ(other.detect(), 0);
            EXPECT_EQ(other.detect(), 0);
            EXPECT_EQ(is_driver, other.fplink.get() != link);
            EXPECT_TRUE(!is_driver || is_fake(*other.fplink));
            other.fplink->panelType = 1; // still alive
            other.initSerialLink();
        }
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
    EXPECT_TRUE(board.port == second_base && board.cpld.get() == driver);
}

// A thread has no privilege but what it asked for itself.
TEST_F(MainboardCpld, PrivilegeIsAThreadsOwn) {
    std::thread([this] {
        portOut(first_base + 4, 0);
        EXPECT_EQ(portIn(first_base), portAbsent);
        EXPECT_EQ(ports.take(), "");
        EXPECT_TRUE(board.iopl3());
        EXPECT_EQ(portIn(first_base + 4), 0);
    }).join();
}

// So it does not outlive the opening of a thread that is cancelled in it.
TEST_F(MainboardCpld, LinkIsTheFakeOneWhileAnotherIsOpened) {
    identify(first_base, 1, 8);
    EXPECT_EQ(board.detect(), 0);
    EXPECT_FALSE(is_fake(*board.initSerialLink()));
    bool was_fake = false;
    others = [&] { return was_fake = is_fake(*board.fplink), 0; };
    board.initSerialLink();
    EXPECT_TRUE(was_fake);
}
