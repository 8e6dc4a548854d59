#include "hw/mainboard_cpld.h"

#include <atomic>
#include <typeindex>
#include <typeinfo>

#include <pthread.h>
#include <unistd.h>

#include "support/ports.h"

namespace {

constexpr std::uint16_t firstBase = 0xD000;
constexpr std::uint16_t secondBase = 0x0A00;

struct Identity {
    std::uint8_t id;
    std::uint8_t version;
};

Identity identityOf(unsigned int bits) {
    return {static_cast<std::uint8_t>(bits >> 8), static_cast<std::uint8_t>(bits)};
}

/** Two bases that answer with an identity each; all other ports read 0, as an idle link. */
class TwoBases : public k4sim::PortSpace {
public:
    Identity atFirst{0xFF, 0xFF};
    Identity atSecond{0xFF, 0xFF};
    std::uint8_t others = 0;
    std::atomic<int> otherReads{0};

    std::uint8_t in(std::uint16_t port) override {
        switch (port) {
        case firstBase:
            return atFirst.id;
        case firstBase + 1:
            return atFirst.version;
        case secondBase:
            return atSecond.id;
        case secondBase + 1:
            return atSecond.version;
        default:
            ++otherReads;
            return others;
        }
    }
    void out(std::uint16_t, std::uint8_t) override {}
};

/** The driver that belongs to an identity; the fake one stands for "unknown". */
std::type_index driverOf(Identity cpld) {
    if (cpld.id == 2 && (cpld.version == 1 || cpld.version == 2))
        return typeid(MymainCPLD_0x02_0x01);
    if (cpld.id != 1) return typeid(MymainCPLD_fake);
    if (cpld.version == 6 || cpld.version == 7) return typeid(MymainCPLD_0x01_0x06);
    if (cpld.version == 8) return typeid(MymainCPLD_0x01_0x08);
    if (cpld.version == 9 || cpld.version == 10 || cpld.version == 16)
        return typeid(MymainCPLD_0x01_0x09);
    return typeid(MymainCPLD_fake);
}

template <class Object>
std::type_index typeOf(const Object& object) {
    return typeid(object);
}

void* openLink(void* board) {
    EXPECT_TRUE(portRequestPrivilege());
    static_cast<CHmainboardCPLD_K4*>(board)->initSerialLink();
    return nullptr;
}

constexpr Identity everyGeneration[] = {{1, 6}, {1, 8}, {1, 9}, {2, 1}, {9, 9}};

} // namespace

/** Each pair stands once at the first base, and once at the second one: the second base
    gets an odd multiple of the number of the first one. */
TEST(MainboardCpld, DetectsByEveryPairOfIdAndVersion) {
    TwoBases ports;
    const AttachedPorts attached(ports);
    CHmainboardCPLD_K4 board;
    for (unsigned int number = 0; number < 0x10000; ++number) {
        ports.atFirst = identityOf(number);
        ports.atSecond = identityOf(number * 40503U);
        const bool isFirst = driverOf(ports.atFirst) != typeid(MymainCPLD_fake);
        const Identity expected = isFirst ? ports.atFirst : ports.atSecond;
        ASSERT_EQ(board.detect(), 0);
        ASSERT_EQ(board.port, isFirst ? firstBase : secondBase) << number;
        ASSERT_EQ(board.id, expected.id) << number;
        ASSERT_EQ(board.version, expected.version) << number;
        ASSERT_EQ(typeOf(*board.cpld), driverOf(expected)) << number;
        ASSERT_EQ(typeOf(*board.fplink), typeid(Myfplink_fake)) << number;
    }
}

TEST(MainboardCpld, DriverAndLinkUseTheBaseThatAnswered) {
    for (const std::uint16_t base : {firstBase, secondBase}) {
        ScriptedPorts ports(base);
        const AttachedPorts attached(ports);
        ports.answer(base, {2});
        ports.answer(static_cast<std::uint16_t>(base + 1), {1});
        ports.answer(static_cast<std::uint16_t>(base + 4), {0});
        CHmainboardCPLD_K4 board;
        EXPECT_EQ(board.detect(), 0);
        ports.take();
        board.initSerialLink()->put_cmd(static_cast<unsigned char>(0xAF));
        board.cpld->watchdog(0x107);
        EXPECT_EQ(ports.take(), "w4=01 r5 r6 r4 w6=af wc=07");
    }
}

TEST(MainboardCpld, RefusedPrivilegeChangesNothing) {
    TwoBases ports;
    const AttachedPorts attached(ports);
    ports.atSecond = {1, 6};
    CHmainboardCPLD_K4 board;
    EXPECT_EQ(board.detect(), 0);
    const CHCPLDinterface_k4* driver = board.cpld.get();
    ports.atFirst = {2, 1};
    k4sim::machine().set_privilege_refused(true);
    EXPECT_FALSE(board.iopl3());
    EXPECT_EQ(board.detect(), -49999);
    k4sim::machine().set_privilege_refused(false);
    EXPECT_TRUE(board.iopl3());
    EXPECT_EQ(board.port, secondBase);
    EXPECT_EQ(board.version, 6);
    EXPECT_EQ(board.cpld.get(), driver);
}

/** Every order of two detections and two openings of the link, for every pair of
    generations: a double or a missing deletion is for AddressSanitizer to find. */
TEST(MainboardCpld, LinkAndDriverAreReplacedInAnyOrder) {
    TwoBases ports;
    const AttachedPorts attached(ports);
    for (const Identity& before : everyGeneration) {
        for (const Identity& after : everyGeneration) {
            CHmainboardCPLD_K4 board;
            ports.atFirst = before;
            EXPECT_EQ(board.detect(), 0);
            board.initSerialLink();
            const CHfplinkK4* link = board.initSerialLink();
            EXPECT_EQ(board.fplink.get(), link);
            const bool isDriver = before.id == 1 && before.version < 9;
            EXPECT_EQ(dynamic_cast<const CHCPLDinterface_k4*>(link) == board.cpld.get(), isDriver);
            ports.atFirst = after;
            EXPECT_EQ(board.detect(), 0);
            if (isDriver)
                EXPECT_EQ(typeOf(*board.fplink), typeid(Myfplink_fake));
            else
                EXPECT_EQ(board.fplink.get(), link);
            EXPECT_EQ(board.detect(), 0);
            board.fplink->panelType = 1; // still alive
            link = board.initSerialLink();
            EXPECT_EQ(link, board.fplink.get());
        }
    }
}

TEST(MainboardCpld, LinkIsTheFakeOneAfterACancelledOpening) {
    TwoBases ports;
    const AttachedPorts attached(ports);
    ports.atFirst = {1, 8};
    CHmainboardCPLD_K4 board;
    EXPECT_EQ(board.detect(), 0);
    board.initSerialLink();

    ports.others = 0x80; // the engine is busy for ever
    ports.otherReads = 0;
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, openLink, &board), 0);
    while (ports.otherReads < 10)
        usleep(1000);
    EXPECT_EQ(pthread_cancel(thread), 0);
    void* result = nullptr;
    EXPECT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_EQ(typeOf(*board.fplink), typeid(Myfplink_fake));
    EXPECT_EQ(board.fplink->keyStatus(), 0U);
}
