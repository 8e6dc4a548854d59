// Carries out steps, each once, when its trigger comes.
#pragma once

#include "sim/operator/operator.h"
#include "sim/operator/screen_reader.h"

#include <cstddef>
#include <vector>

namespace k4sim {

class ScenarioOperator final : public Operator {
public:
    // `act` does what a step says, which is the one of this number from 0 on.
    using Act = std::function<void(const ScenarioStep& step, std::size_t number)>;
    ScenarioOperator(const std::vector<ScenarioStep>& steps, Device& device,
                     Surroundings& surroundings, Act act, std::function<void()> after_steps = {});

    void start() override;
    void console_line(std::string_view line) override;
    void tone(int hz, int length_ms) override;

private:
    struct Pending {
        ScenarioStep step;
        bool done = false;
    };

    void look();
    void carry_out(Pending& pending, Microseconds when);
    template <class Matches>
    void trigger(ScenarioStep::Trigger kind, Matches matches);

    std::vector<Pending> steps_;
    Device& device_;
    ScreenReader reader_;
    Surroundings& surroundings_;
    Act act_;
    std::function<void()> after_steps_; // called when those that have a time are planned
};

} // namespace k4sim
