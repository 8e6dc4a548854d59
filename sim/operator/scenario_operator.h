// Carries out the steps of a scenario, each once, when its trigger comes.
#pragma once

#include "sim/operator/hands.h"
#include "sim/operator/operator.h"

#include <vector>

namespace k4sim {

class ScenarioOperator final : public Operator {
public:
    ScenarioOperator(const std::vector<ScenarioStep>& steps, Device& device,
                     Surroundings& surroundings,
                     std::function<void(const FaultSetting&)> apply_fault,
                     std::function<void()> after_steps = {});

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
    Surroundings& surroundings_;
    Hands hands_;
    std::function<void()> after_steps_; // called when those that have a time are planned
};

} // namespace k4sim
