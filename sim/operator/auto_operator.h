// The operator who does what the screen asks for, in time, and nothing else.
//
// When the lamp test lights the whole glass, every key is pressed and every knob turned,
// once each and one after the other. What the front panel's row still asks for after that
// is done again. Both loopback cables are unplugged at first; the analog one is plugged
// when the console asks to "Check for loopback audio", the digital one when a row asks for
// 'LOCK'. With human habits it takes longer, and a key that was missed is pressed when the row
// still asks for it.
//
// When all rows read "OK", the program ends by itself. When nothing more can come - every
// row that can still change reads "OK", but not all, or for two minutes the table showed
// nothing new but numbers - Esc is pressed twice, three times over, and the operator leaves. What
// comes and goes is not new. A glass on which there is nothing to see for as long is given up in
// the same way.
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
    // How quick and how careful; those of the one who does everything right.
    struct Habits {
        Microseconds pause_us = 700'000; // between two actions, from start to start
        Microseconds pause_jitter_us = 100'000;
        Microseconds plug_us = 1'500'000; // from the request to the plug in its socket
        Microseconds plug_jitter_us = 0;
        unsigned slips = 0; // one action in so many is another key instead; 0: none
    };
    // Slow, now and then distracted, and not always on the right key; but each is let go for long
    // enough to be seen before the next.
    static constexpr Habits human{600'000, 2'400'000, 2'000'000, 28'000'000, 6};

    AutoOperator(std::uint64_t seed, Device& device, Surroundings& surroundings,
                 const OperatorCalls& calls, const Habits& habits);

    void start() override;
    void console_line(std::string_view line) override;
    void tone(int, int) override {}

private:
    enum class Phase { waits_for_lamp_test, operates, watches, aborts };

    void give_up();
    Microseconds try_again_or_leave();

    void look();
    Microseconds decide();
    Microseconds wait_for_lamp_test();
    Microseconds operate();
    Microseconds watch();
    bool slips();
    char wrong_key();
    Microseconds up_to(Microseconds least, Microseconds more);
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
    Habits habits_;
    Phase phase_ = Phase::waits_for_lamp_test;
    std::deque<Action> plan_;
    std::function<void()> left_;
    int tries_ = 0; // to end the run
    bool digital_plugged_ = false;
    bool analog_plugged_ = false;
    ScreenReader reader_;
    Picture last_picture_{};
    std::vector<ScreenRow> rows_;      // of the last picture
    std::set<std::string> seen_words_; // all that the table ever read
    Microseconds last_change_ = 0;     // when it read something new
};

} // namespace k4sim
