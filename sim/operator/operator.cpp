#include "sim/operator/operator.h"

#include "sim/operator/auto_operator.h"
#include "sim/operator/scenario_operator.h"

#include <vector>

namespace k4sim {

namespace {

// Several operators at one device.
class Crew final : public Operator {
public:
    void add(std::unique_ptr<Operator> member) { members_.push_back(std::move(member)); }

    void start() override {
        for (const auto& member : members_)
            member->start();
    }
    void console_line(std::string_view line) override {
        for (const auto& member : members_)
            member->console_line(line);
    }
    void tone(int hz, int length_ms) override {
        for (const auto& member : members_)
            member->tone(hz, length_ms);
    }

private:
    std::vector<std::unique_ptr<Operator>> members_;
};

} // namespace

std::unique_ptr<Operator> make_operator(const Setup& setup, Device& device,
                                        Surroundings& surroundings,
                                        const std::function<void(const FaultSetting&)>& apply_fault,
                                        const std::function<void()>& after_steps) {
    auto crew = std::make_unique<Crew>();
    if (setup.operator_kind == OperatorKind::automatic)
        crew->add(std::make_unique<AutoOperator>(setup.seed, device, surroundings, apply_fault));
    if (!setup.steps.empty() || after_steps)
        crew->add(std::make_unique<ScenarioOperator>(setup.steps, device, surroundings, apply_fault,
                                                     after_steps));
    return crew;
}

} // namespace k4sim
