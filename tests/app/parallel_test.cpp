#include "app/parallel_test.h"

#include "unit_run.h"

#include <atomic>

namespace {

constexpr k4sim::Microseconds second_us = 1'000'000;
constexpr std::uint16_t base = 0xD000;
constexpr int writesPerTest = 8 * 4 + 1;

// A CPLD whose input lines are a function of the output byte and of the number of the
// byte test, counted from 0.
class Loopback : public k4sim::PortSpace {
public:
    using Wiring = std::function<int(int lines, int test)>;

    Loopback(
        int id, int version, Wiring wiring = [](int lines, int) { return lines; })
        : id_(id), version_(version), wiring_(std::move(wiring)) {
        k4sim::machine().set_privilege_refused(false);
        k4sim::machine().attach_ports(this);
    }
    ~Loopback() override { k4sim::machine().attach_ports(nullptr); }

    std::uint8_t in(std::uint16_t port) override {
        if (port == base) return static_cast<std::uint8_t>(id_);
        if (port == base + 1) return static_cast<std::uint8_t>(version_);
        if (port != base + 3) return 0xFF;
        return static_cast<std::uint8_t>(wiring_(lines_, (writes - 1) / writesPerTest));
    }
    void out(std::uint16_t port, std::uint8_t value) override {
        if (port != base + 2) return;
        lines_ = value;
        ++writes;
    }

    std::atomic<int> writes{0};

private:
    int id_;
    int version_;
    Wiring wiring_;
    int lines_ = 0;
};

class Parallel : public UnitRun {
protected:
    ~Parallel() noexcept override {}
    void SetUp() override { unit.init(); }
    K4STparallel unit;
};

TEST_F(Parallel, TestsOnlyCpldsThatItKnows) {
    for (const auto& [id, version, known] : {std::tuple{1, 2, false},
                                             {1, 3, true},
                                             {1, 239, true},
                                             {1, 240, false},
                                             {2, 0, false},
                                             {2, 1, true},
                                             {2, 239, true},
                                             {2, 240, false},
                                             {3, 9, false}}) {
        Loopback ports(id, version);
        EXPECT_EQ(characters(unit.info()), "Not running");
        ASSERT_EQ(unit.start(true), 0);
        unit.waitend();
        EXPECT_EQ(characters(unit.info()),
                  known ? "OK"
                        : "CPLDerr: ID=" + std::to_string(id) + " VER=" + std::to_string(version));
        EXPECT_EQ(ports.writes, known ? 10 * writesPerTest : 0) << id << " " << version;
        unit.init();
    }
}

TEST_F(Parallel, PassesAfterTenTestsAndNinePauses) {
    const Loopback ports(2, 1);
    const k4sim::Microseconds begin = k4sim::machine().now();
    ASSERT_EQ(unit.start(true), 0);
    EXPECT_TRUE(shows(unit, "Bit status: ", second_us / 3));
    EXPECT_TRUE(shows(unit, "Bit status: ++++++++", second_us));
    EXPECT_TRUE(shows(unit, "OK", 10 * second_us));
    const auto took_us = static_cast<double>(k4sim::machine().now() - begin);
    EXPECT_NEAR(took_us, 4'200'000, 0.05 * 4'200'000);
}

TEST_F(Parallel, OneFailureStartsTheCountAgain) {
    constexpr int failing = 9; // the tenth
    const Loopback ports(2, 1, [](int lines, int test) { return test == failing ? 0 : lines; });
    ASSERT_EQ(unit.start(true), 0);
    EXPECT_TRUE(shows(unit, "Bit status: 00000000", 10 * second_us));
    unit.waitend();
    EXPECT_EQ(characters(unit.info()), "OK");
    EXPECT_EQ(ports.writes, (failing + 1 + 10) * writesPerTest);
}

} // namespace
