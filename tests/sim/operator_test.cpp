// Who stands at the panel, at a device whose glass the test draws: what whole runs of the
// program do not bring about.
#include "sim/operator/operator.h"

#include "fake_surroundings.h"
#include "status_picture.h"

#include "sim/models/device.h"
#include "sim/operator/screen_reader.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <initializer_list>

namespace {

using namespace k4sim;
using testing::ElementsAre;
using testing::IsEmpty;
using Actions = std::vector<std::string>;
using Trigger = ScenarioStep::Trigger;

constexpr Microseconds second = 1'000'000;

Picture picture_of(const std::string& text) {
    StatusPicture drawn;
    drawn.draw(status_x, 20, text);
    return drawn.picture();
}

std::string read_back(const std::string& text) {
    return read_text(picture_of(text), status_x, glass_width, 20);
}

bool is_quote(char c) { return c == '"' || c == '\''; }

TEST(ScreenReader, ReadsEveryLetterAfterEveryOther) {
    for (char a = '!'; a <= '~'; ++a)
        for (char b = '!'; b <= '~'; ++b) {
            const std::string text = {a, b, ' ', b};
            // Quotes side by side look alike however they are grouped.
            if (is_quote(a) && is_quote(b))
                ASSERT_EQ(picture_of(read_back(text)), picture_of(text)) << text;
            else
                ASSERT_EQ(read_back(text), text);
        }
}

TEST(ScreenReader, TellsWhereTheEdgeCutsALetter) {
    StatusPicture picture;
    picture.draw(240, 0, "WWWW");
    EXPECT_EQ(read_text(picture.picture(), 240, 256, 0), "WW?");
}

class OperatorTest : public testing::Test {
protected:
    OperatorTest() { commands({0xFD, 0x12, 0xA0, 0xC3, 0xAB, 0x01, 0xAF}); }

    void begin(OperatorKind kind, std::vector<ScenarioStep> steps = {}) {
        k4sim::Setup setup;
        setup.operator_kind = kind;
        setup.steps = std::move(steps);
        person_ = make_operator(setup, device_, surroundings_, [this](const FaultSetting& fault) {
            surroundings_.event("operator", "fault " + fault.name,
                                {{"value", std::string_view(fault.value)}});
        });
        person_->start();
    }

    void commands(std::initializer_list<int> bytes) {
        for (const int byte : bytes)
            device_.panel()->oled_command(static_cast<std::uint8_t>(byte));
    }

    void show(const std::vector<std::pair<std::string, std::string>>& rows) {
        const Picture picture = StatusPicture(rows).picture();
        commands({0xA4, 0x15, 0x00, 0x7F, 0x75, 0x00, 0x3F});
        for (std::size_t i = 0; i < picture.size(); i += 2)
            device_.panel()->oled_data(static_cast<std::uint8_t>(picture[i] << 4 | picture[i + 1]));
    }

    // What is done until then, but for the release of keys.
    Actions actions_until(Microseconds when) {
        surroundings_.events.clear();
        surroundings_.advance(when - surroundings_.now());
        Actions actions;
        for (const std::string& event : surroundings_.events)
            if (event.starts_with("operator ") && !event.starts_with("operator release"))
                actions.push_back(event.substr(9));
        return actions;
    }

    FakeSurroundings surroundings_;
    Device device_{Board::aes, surroundings_};
    std::unique_ptr<Operator> person_;
};

TEST_F(OperatorTest, TheAutomaticOneDoesWhatTheRowAsksFor) {
    begin(OperatorKind::automatic);
    show({{"Ethernet", "01E"}, {"Frontpanel", "OK"}}); // once everything
    EXPECT_EQ(actions_until(22 * second).size(), 22U);
    const struct {
        const char* status;
        Actions asked_for;
    } cases[] = {
        {"LRhH0E",
         {"turn encoder=1 step=-1", "turn encoder=1 step=1", "turn encoder=2 step=-1",
          "turn encoder=2 step=1", "press key=0", "press key=E"}},
        {"Missing Ml Mr M Esc H Hl Hr ",
         {"turn encoder=1 step=-1", "turn encoder=1 step=1", "press key=K", "press key=E",
          "press key=M", "turn encoder=2 step=-1", "turn encoder=2 step=1"}},
        {"OK", {}},
        {"Not running", {}},
    };
    for (const auto& [status, asked_for] : cases) {
        SCOPED_TRACE(status);
        show({{"Ethernet", "01E"}, {"Frontpanel", status}});
        Actions actions = actions_until(surroundings_.now() + second);
        show({{"Ethernet", "01E"}, {"Frontpanel", "OK"}});
        std::ranges::copy(actions_until(surroundings_.now() + 10 * second),
                          std::back_inserter(actions));
        EXPECT_EQ(actions, asked_for);
    }
}

TEST_F(OperatorTest, AStepOfAScenarioIsDoneOnceWhenItIsDue) {
    begin(OperatorKind::none, {{Trigger::console, second / 2, "init error", "press 1"},
                               {Trigger::screen, second / 5, "Frontpanel 0123", "press 2"},
                               {Trigger::screen, 0, "Rebooting", "press 3"},
                               {Trigger::beep, 0, "", "fault key-dead=E"},
                               {Trigger::time, 2 * second, "", "hold 4"}});
    show({{"Ethernet", ""}, {"Frontpanel", "0124"}});
    EXPECT_THAT(actions_until(2 * second - 1), IsEmpty());
    EXPECT_THAT(actions_until(2 * second), ElementsAre("press key=4"));
    for (const bool first_time : {true, false}) {
        const Microseconds start = surroundings_.now();
        const auto once = [&](Actions actions) { return first_time ? actions : Actions{}; };
        person_->console_line("all is well");
        person_->console_line("Frontpanel init error -49997");
        show({{"Ethernet", ""}, {"Frontpanel", "01234"}});
        EXPECT_THAT(actions_until(start + 3 * second / 10 - 1), IsEmpty()); // a look, then 0.2 s
        EXPECT_EQ(actions_until(start + 3 * second / 10), once({"press key=2"}));
        EXPECT_THAT(actions_until(start + second / 2 - 1), IsEmpty());
        EXPECT_EQ(actions_until(start + second / 2), once({"press key=1"}));
        person_->tone(500, 100);
        EXPECT_EQ(actions_until(start + 2 * second), once({"fault key-dead value=E"}));
    }
    EXPECT_TRUE(device_.keys()->peek_pressed('4'));
    EXPECT_FALSE(device_.keys()->peek_pressed('1'));
}

// Slower than the program looks at the keys.
TEST_F(OperatorTest, AKnobIsTurnedStepByStep) {
    begin(OperatorKind::none, {{Trigger::time, 0, "", "turn 2 -3"}});
    EXPECT_EQ(actions_until(0).size(), 1U);
    EXPECT_THAT(actions_until(150'000 - 1), IsEmpty());
    EXPECT_EQ(actions_until(150'000).size(), 1U);
    EXPECT_EQ(actions_until(second).size(), 1U);
    EXPECT_EQ(device_.keys()->peek_counter(2), 64U - 3);
}

} // namespace
