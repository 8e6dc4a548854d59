#include "app/ethernet_test.h"

#include "unit_run.h"

#include <atomic>
#include <memory>
#include <vector>

namespace {

constexpr k4sim::Microseconds second_us = 1'000'000;

// What linkUp answers for the nth reading of an interface; the last answer stays.
struct Link {
    std::vector<int> answers;
    std::atomic<std::size_t> readings = 0;

    void script(std::vector<int> script) {
        answers = std::move(script);
        readings = 0;
    }
    int next() { return answers[std::min(readings++, answers.size() - 1)]; }
};

Link lan;
Link wan;

} // namespace

// In place of KLTlinuxNetstat3::linkUp in this program.
extern "C" int __wrap__ZN16KLTlinuxNetstat36linkUpEPKc(const char* name) {
    EXPECT_TRUE(std::string(name) == "eth0" || std::string(name) == "usb0") << name;
    return (std::string(name) == "eth0" ? lan : wan).next();
}

namespace {

class Ethernet : public UnitRun {
protected:
    void start(std::vector<int> lanAnswers, std::vector<int> wanAnswers) {
        unit = std::make_unique<K4STethernet>();
        lan.script(std::move(lanAnswers));
        wan.script(std::move(wanAnswers));
        unit->init();
        EXPECT_EQ(characters(unit->info()), "Not running");
        ASSERT_EQ(unit->start(true), 0);
    }
    std::unique_ptr<K4STethernet> unit;
};

TEST_F(Ethernet, ShowsFaultyLinksUntilItIsToldToStop) {
    for (const auto& [lanLink, wanLink, status] :
         {std::tuple{-3, 1, "LAN-??   WAN-ok"}, {1, 0, "LAN-ok   WAN-??"}}) {
        start({lanLink}, {wanLink});
        KLFptdelay(20 * second_us + 1'000);
        EXPECT_EQ(lan.readings, 41U) << "one every half second";
        EXPECT_EQ(wan.readings, 41U);
        unit->start(false);
        unit->waitend();
        EXPECT_EQ(characters(unit->info()), status);
    }
}

TEST_F(Ethernet, PassesAfterTwentyReadings) {
    const k4sim::Microseconds begin = k4sim::machine().now();
    start({1}, {1});
    EXPECT_TRUE(shows(*unit, "LAN-ok   WAN-ok", second_us));
    unit->waitend();
    EXPECT_EQ(characters(unit->info()), "OK");
    EXPECT_EQ(lan.readings, 20U);
    EXPECT_NEAR(static_cast<double>(k4sim::machine().now() - begin), 9'500'000, 95'000);
}

TEST_F(Ethernet, OneDroppedReadingStartsTheCountAgain) {
    std::vector<int> dropped(20, 1);
    dropped[18] = 0; // the nineteenth
    for (const bool onLan : {true, false}) {
        start(onLan ? dropped : std::vector<int>{1}, onLan ? std::vector<int>{1} : dropped);
        EXPECT_TRUE(shows(*unit, onLan ? "LAN-??   WAN-ok" : "LAN-ok   WAN-??", 10 * second_us));
        unit->waitend();
        EXPECT_EQ(characters(unit->info()), "OK");
        EXPECT_EQ(wan.readings, 19U + 20U);
    }
}

} // namespace
