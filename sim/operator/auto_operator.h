// The operator who does what the screen asks for, in time, and nothing else.
//
// When the lamp test lights the whole glass, every key is pressed and every knob turned,
// once each and one after the other. What the front panel's row still asks for after that
// is done again. Both loopback cables are unplugged at first; the analog one is plugged
// when the console asks to "Check for loopback audio", the digital one when a row asks for
// 'LOCK'.
//
// When all rows read "OK", the program ends by itself. When nothing more can come - every
// row that can still change reads "OK", but not all, or for two minutes the table showed
// nothing new but numbers - Esc is pressed twice. What comes and goes is not new.
#pragma once

#include "sim/operator/hands.h"
#include "sim/operator/operator.h"
#include "sim/operator/screen_reader.h"

#include <deque>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace k4sim {

class AutoOperator final : public Operator {
public:
    AutoOperator(std::uint64_t seed, Device& device, Surroundings& surroundings,
                 std::function<void(const FaultSetting&)> apply_fault);

    void start() override;
    void console_line(std::string_view line) override;
    void tone(int, int) override {}

private:
    enum class Phase { waits_for_lamp_test, operates, watches, aborts };

    void look();
    Microseconds decide();
    Microseconds wait_for_lamp_test();
    Microseconds operate();
    Microseconds watch();
    void plug_when_asked();
    void plug(Action::Cable cable);
    void notice(std::string words);
    void plan_everything();
    void plan_what_is_asked();
    bool nothing_more_can_come() const;

    Device& device_;
    Surroundings& surroundings_;
    Hands hands_;
    std::mt19937_64 random_;
    Phase phase_ = Phase::waits_for_lamp_test;
    std::deque<Action> plan_;
    bool digital_plugged_ = false;
    bool analog_plugged_ = false;
    Picture last_picture_{};
    std::vector<ScreenRow> rows_;      // of the last picture
    std::set<std::string> seen_words_; // all that the table ever read
    Microseconds last_change_ = 0;     // when it read something new
};

} // namespace k4sim
