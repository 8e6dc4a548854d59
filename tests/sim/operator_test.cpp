// Who stands at the panel, at a device whose glass the test draws: what whole runs of the
// program do not bring about.
#include "sim/operator/operator.h"

#include "fake_surroundings.h"
#include "status_picture.h"

#include "sim/models/device.h"
#include "sim/operator/screen_reader.h"

#include <gtest/gtest.h>
#include <initializer_list>

namespace {

using namespace k4sim;
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
    StatusPicture cut;
    cut.draw(240, 0, "WWWW");
    EXPECT_EQ(read_text(cut.picture(), 240, glass_width, 0), "WW?");
}

TEST(ScreenReader, ReadsBesideBrokenLines) {
    const Picture whole = StatusPicture({{"Ethernet", "LAN-ok"}, {"USB Ports", "OK"}}).picture();
    for (const bool is_row : {false, true})
        for (const unsigned place : is_row ? std::array{2U, 13U} : std::array{8U, 72U})
            for (const std::uint8_t grey : {0, 15}) {
                const auto with_line = [&](Picture picture) {
                    for (unsigned at = 0; at < (is_row ? glass_width : glass_height); ++at)
                        picture[is_row ? place * glass_width + at : at * glass_width + place] =
                            grey;
                    return picture;
                };
                Picture lamp_test;
                lamp_test.fill(15);
                ScreenReader reader;
                EXPECT_TRUE(reader.read(with_line(lamp_test)).empty());
                std::string rows;
                for (const ScreenRow& row : reader.read(with_line(whole)))
                    rows += row.label + "=" + row.status + ";";
                EXPECT_EQ(rows, "Ethernet=LAN-ok;USB Ports=OK;=;=;=;=;")
                    << (is_row ? "row " : "column ") << place << " at " << int{grey};
            }
}

class OperatorTest : public testing::Test {
protected:
    OperatorTest() { commands({0xFD, 0x12, 0xA0, 0xC3, 0xAB, 0x01, 0xAF}); }

    void begin(OperatorKind kind, std::vector<ScenarioStep> steps = {}) {
        begin(device_, kind, std::move(steps));
    }

    void begin(Device& device, OperatorKind kind, std::vector<ScenarioStep> steps) {
        k4sim::Setup setup;
        setup.operator_kind = kind;
        setup.steps = std::move(steps);
        OperatorCalls calls;
        calls.apply_fault = [this](const FaultSetting& fault) {
            surroundings_.event("operator", fault.name, {{"=", std::string_view(fault.value)}});
        };
        calls.left = [this] { surroundings_.event("operator", "leaves", {}); };
        person_ = make_operator(setup, device, surroundings_, calls);
        person_->start();
    }

    void commands(std::initializer_list<int> bytes) {
        for (const int byte : bytes)
            device_.panel()->oled_command(static_cast<std::uint8_t>(byte));
    }

    void show(const std::string& status) {
        const StatusPicture table({{"Ethernet", "01E"}, {"Frontpanel", status}});
        const Picture picture = table.picture();
        commands({0xA4, 0x15, 0x00, 0x7F, 0x75, 0x00, 0x3F});
        for (std::size_t i = 0; i < picture.size(); i += 2)
            device_.panel()->oled_data(static_cast<std::uint8_t>(picture[i] << 4 | picture[i + 1]));
    }

    // What is done meanwhile, but for the release of keys.
    std::string actions_for(Microseconds time) {
        surroundings_.events.clear();
        surroundings_.advance(time);
        std::string actions;
        for (const std::string& event : surroundings_.events)
            if (event.starts_with("operator ") && event.find("release") == std::string::npos)
                actions += event.substr(9) + ";";
        return actions;
    }

    FakeSurroundings surroundings_;
    Device device_{Board::aes, surroundings_};
    std::unique_ptr<Operator> person_;
};

TEST_F(OperatorTest, WithoutAPanelThereIsNothingToPressOrTurn) {
    Device bare(Board::none, surroundings_);
    std::vector<ScenarioStep> steps;
    for (const char* action : {"press 1", "hold 2", "release 2", "turn 1 2"})
        steps.push_back({Trigger::time, 0, "", action});
    begin(bare, OperatorKind::none, steps);
    EXPECT_EQ(actions_for(second), "");
}

TEST_F(OperatorTest, GivesUpADarkGlassAndLeaves) {
    begin(OperatorKind::automatic);
    EXPECT_EQ(actions_for(119 * second), "");
    const std::string twice = "press key=E;press key=E;";
    EXPECT_EQ(actions_for(5 * second), twice);
    EXPECT_EQ(actions_for(30 * second), twice + twice + "leaves;");
    EXPECT_EQ(actions_for(500 * second), "");
}

TEST_F(OperatorTest, AStepOfAScenarioIsDoneOnceWhenItIsDue) {
    begin(OperatorKind::none, {{Trigger::console, second / 2, "init error", "press 1"},
                               {Trigger::screen, second / 5, "Frontpanel 0123", "press 2"},
                               {Trigger::screen, 0, "Rebooting", "press 3"},
                               {Trigger::beep, 0, "", "fault key-dead=E"},
                               {Trigger::time, second, "", "hold 4"},
                               {Trigger::time, 0, "", "turn 2 -3"}});
    show("0124");
    // Slower than the program looks at the keys.
    const std::string step = "turn encoder=2 step=-1;";
    EXPECT_EQ(actions_for(150'000 - 1), step);
    EXPECT_EQ(actions_for(150'001), step + step);
    EXPECT_EQ(actions_for(7 * second / 10), "press key=4;");
    for (const bool first_time : {true, false}) {
        const auto expect_once = [&](Microseconds time, const char* action) {
            EXPECT_EQ(actions_for(time - 1), "");
            EXPECT_EQ(actions_for(1), first_time ? action : "");
        };
        person_->console_line("all is well");
        person_->console_line("Frontpanel init error -49997");
        show("01234");
        expect_once(3 * second / 10, "press key=2;"); // a look, then 0.2 s
        expect_once(second / 5, "press key=1;");
        person_->tone(500, 100);
        EXPECT_EQ(actions_for(second / 2), first_time ? "key-dead ==E;" : "");
    }
    EXPECT_TRUE(device_.keys()->peek_pressed('4'));
    EXPECT_FALSE(device_.keys()->peek_pressed('1'));
}

} // namespace
