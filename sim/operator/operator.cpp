#include "sim/operator/operator.h"

#include "sim/operator/auto_operator.h"
#include "sim/operator/hands.h"
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

// The hands are the operator's who has the result.
ScenarioOperator::Act acting(const std::shared_ptr<Hands>& hands, Surroundings& surroundings) {
    return [hands, &surroundings](const ScenarioStep& step, std::size_t number) {
        surroundings.event("plan", "step", {{"number", static_cast<std::int64_t>(number)}});
        if (const auto action = parse_action(step.action)) hands->act(*action);
    };
}

} // namespace

std::unique_ptr<Operator> make_operator(const Setup& setup, Device& device,
                                        Surroundings& surroundings, const OperatorCalls& calls) {
    auto crew = std::make_unique<Crew>();
    if (setup.operator_kind != OperatorKind::none)
        crew->add(std::make_unique<AutoOperator>(setup.seed, device, surroundings, calls,
                                                 setup.operator_kind == OperatorKind::human
                                                     ? AutoOperator::human
                                                     : AutoOperator::Habits{}));
    if (!setup.steps.empty() || calls.after_steps)
        crew->add(std::make_unique<ScenarioOperator>(
            setup.steps, device, surroundings,
            acting(std::make_shared<Hands>(device, surroundings, calls.apply_fault), surroundings),
            calls.after_steps));
    if (setup.stop)
        crew->add(std::make_unique<ScenarioOperator>(
            std::vector{*setup.stop}, device, surroundings,
            [stop = calls.stop](const ScenarioStep&, std::size_t) { stop(); }));
    return crew;
}

} // namespace k4sim
