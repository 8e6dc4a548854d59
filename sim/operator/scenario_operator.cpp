#include "sim/operator/scenario_operator.h"

#include "sim/models/device.h"
#include "sim/operator/screen_reader.h"

#include <algorithm>

namespace k4sim {

namespace {

constexpr Microseconds glance_us = 100'000; // between two looks at the glass

bool waits_for(const ScenarioStep& step, ScenarioStep::Trigger kind) {
    return step.trigger == kind;
}

} // namespace

ScenarioOperator::ScenarioOperator(const std::vector<ScenarioStep>& steps, Device& device,
                                   Surroundings& surroundings, Act act,
                                   std::function<void()> after_steps)
    : device_(device), surroundings_(surroundings), act_(std::move(act)),
      after_steps_(std::move(after_steps)) {
    for (const ScenarioStep& step : steps)
        steps_.push_back({step});
}

void ScenarioOperator::start() {
    for (Pending& pending : steps_)
        if (waits_for(pending.step, ScenarioStep::Trigger::time))
            carry_out(pending, pending.step.at_us);
    if (after_steps_) after_steps_();
    look();
}

void ScenarioOperator::console_line(std::string_view line) {
    trigger(ScenarioStep::Trigger::console, [&](const ScenarioStep& step) {
        return line.find(step.text) != std::string_view::npos;
    });
}

void ScenarioOperator::tone(int, int) {
    trigger(ScenarioStep::Trigger::beep, [](const ScenarioStep&) { return true; });
}

// Looks at the glass again and again as long as a step waits for something on it.
void ScenarioOperator::look() {
    const bool wanted = std::any_of(steps_.begin(), steps_.end(), [](const Pending& pending) {
        return !pending.done && waits_for(pending.step, ScenarioStep::Trigger::screen);
    });
    if (!wanted || device_.oled() == nullptr) return;
    const std::vector<ScreenRow> rows = reader_.read(device_.oled()->picture());
    trigger(ScenarioStep::Trigger::screen, [&](const ScenarioStep& step) {
        return std::any_of(rows.begin(), rows.end(), [&](const ScreenRow& row) {
            return (row.label + " " + row.status).find(step.text) != std::string::npos;
        });
    });
    surroundings_.at(surroundings_.now() + glance_us, [this] { look(); });
}

void ScenarioOperator::carry_out(Pending& pending, Microseconds when) {
    pending.done = true;
    surroundings_.at(when, [this, number = static_cast<std::size_t>(&pending - steps_.data())] {
        act_(steps_[number].step, number);
    });
}

template <class Matches>
void ScenarioOperator::trigger(ScenarioStep::Trigger kind, Matches matches) {
    for (Pending& pending : steps_)
        if (!pending.done && waits_for(pending.step, kind) && matches(pending.step))
            carry_out(pending, surroundings_.now() + pending.step.at_us);
}

} // namespace k4sim
