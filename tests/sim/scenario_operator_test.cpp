// The steps of a scenario at a device whose program is played by the test.
#include "panel_program.h"

#include "sim/operator/operator.h"

#include <gmock/gmock.h>

namespace {

using namespace k4sim;
using testing::ElementsAre;
using Trigger = ScenarioStep::Trigger;

constexpr Microseconds second = 1'000'000;

class Scenario : public testing::Test {
protected:
    void begin(std::vector<ScenarioStep> steps) {
        k4sim::Setup setup;
        setup.steps = std::move(steps);
        person = make_operator(setup, device, surroundings,
                               [this](const FaultSetting& fault) { faults.push_back(fault); });
        person->start();
    }

    FakeSurroundings surroundings;
    Device device{Board::aes, surroundings};
    std::unique_ptr<Operator> person;
    std::vector<FaultSetting> faults;
};

TEST_F(Scenario, TurnsStepByStepSlowerThanKeysAreLookedAt) {
    begin({{Trigger::time, 0, "", "turn 2 -3"}});
    const unsigned start = device.keys()->peek_counter(2);
    std::vector<int> steps;
    for (int look = 0; look < 8; ++look) {
        surroundings.advance(50'000);
        const unsigned now = device.keys()->peek_counter(2);
        steps.push_back(static_cast<int>((start - now) & 0x3F));
    }
    EXPECT_THAT(steps, ElementsAre(1, 1, 2, 2, 2, 3, 3, 3));
}

TEST_F(Scenario, OnAConsoleLineOnceAndAfterAWhile) {
    begin({{Trigger::console, second / 2, "init error", "press 1"}});
    person->console_line("***** all is well");
    surroundings.advance(second);
    EXPECT_TRUE(surroundings.events.empty());
    person->console_line("Frontpanel init error -49997");
    surroundings.advance(second / 2 - 1);
    EXPECT_TRUE(surroundings.events.empty());
    surroundings.advance(1);
    EXPECT_EQ(surroundings.events.size(), 1U);
    surroundings.advance(second);
    person->console_line("Frontpanel init error -49997");
    surroundings.advance(second);
    EXPECT_EQ(surroundings.events.size(), 2U); // pressed and released, once
}

TEST_F(Scenario, OnATextOnTheGlass) {
    PanelProgram program(device, surroundings, PanelProgram::Keypad::fitted);
    begin({{Trigger::screen, 0, "Rebooting", "press 2"},
           {Trigger::screen, 0, "Frontpanel 012346", "press 1"},
           {Trigger::time, 2 * second, "", "press 5"}});
    program.start();
    surroundings.advance(5 * second);
    EXPECT_THAT(program.keys(), ElementsAre(5, 1));
}

TEST_F(Scenario, OnABeep) {
    begin({{Trigger::beep, 0, "", "fault key-dead=E"}});
    surroundings.advance(second);
    EXPECT_TRUE(faults.empty());
    person->tone(500, 100);
    surroundings.advance(0);
    ASSERT_EQ(faults.size(), 1U);
    EXPECT_EQ(faults[0].name, "key-dead");
    EXPECT_EQ(faults[0].value, "E");
}

} // namespace
