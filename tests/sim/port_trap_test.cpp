#include "sim/machine/machine.h"
#include "sim/models/bus/port_space.h"
#include "sim/time/scheduler.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <sys/io.h>

using namespace k4sim;

namespace {

struct Access {
    char kind;
    int port;
    int value;
    bool operator==(const Access&) const = default;
};

void PrintTo(const Access& access, std::ostream* out) {
    *out << access.kind << ' ' << access.port << ' ' << access.value;
}

// Reads give the port's low byte, inverted.
class RecordedPorts final : public PortSpace {
public:
    std::uint8_t in(std::uint16_t port) override {
        const auto value = static_cast<std::uint8_t>(~port);
        accesses.push_back({'r', port, value});
        return value;
    }
    void out(std::uint16_t port, std::uint8_t value) override {
        accesses.push_back({'w', port, value});
    }
    std::vector<Access> accesses;
};

// Returns the whole accumulator: only its low byte may change.
unsigned in_by_dx(std::uint16_t port) {
    unsigned accumulator = 0x12345600;
    asm volatile("inb %%dx, %%al" : "+a"(accumulator) : "d"(port));
    return accumulator;
}

void out_by_dx(std::uint16_t port, std::uint8_t value) {
    asm volatile("outb %%al, %%dx" : : "a"(value), "d"(port));
}

class PortTrap : public testing::Test {
protected:
    PortTrap() {
        machine().attach_ports(&ports_);
        EXPECT_EQ(iopl(3), 0);
    }
    ~PortTrap() override {
        iopl(0);
        machine().reset();
    }
    RecordedPorts ports_;
};

using PortTrapDeathTest = PortTrap;

TEST_F(PortTrap, AllFourFormsReachThePort) {
    unsigned accumulator = 0xABCDEF00;
    EXPECT_EQ(in_by_dx(0xD001), 0x123456FEu);
    out_by_dx(0x0A00, 0x5A);
    asm volatile("inb $0x61, %%al" : "+a"(accumulator));
    EXPECT_EQ(accumulator, 0xABCDEF9Eu);
    asm volatile("outb %%al, $0x80" : : "a"(0xC3));
    EXPECT_THAT(ports_.accesses,
                testing::ElementsAre(Access{'r', 0xD001, 0xFE}, Access{'w', 0x0A00, 0x5A},
                                     Access{'r', 0x61, 0x9E}, Access{'w', 0x80, 0xC3}));
}

TEST_F(PortTrap, AnAccessTakesAMicrosecondAndKeepsErrno) {
    const Microseconds start = scheduler().now();
    errno = 55;
    for (int i = 0; i < 100; ++i)
        out_by_dx(0xD000, 0);
    EXPECT_EQ(scheduler().now(), start + 100);
    EXPECT_EQ(errno, 55);
}

TEST_F(PortTrapDeathTest, WithoutPrivilegeAnAccessKillsTheProcess) {
    EXPECT_EQ(iopl(0), 0);
    EXPECT_DEATH(in_by_dx(0xD000), "");
}

TEST_F(PortTrapDeathTest, AnotherFaultKillsTheProcess) {
    EXPECT_DEATH(*static_cast<volatile int*>(nullptr) = 1, "");
}

} // namespace
