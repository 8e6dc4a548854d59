// Who stands at the virtual K/4: presses keys, turns knobs, breaks things on purpose.
#pragma once

#include "sim/models/surroundings.h"
#include "sim/setup.h"

#include <functional>
#include <memory>
#include <string_view>

namespace k4sim {

class Device;

// Sees the console, the glass and the speaker, and nothing of the program. All calls come
// from the machine's scheduling steps and never block.
class Operator {
public:
    virtual ~Operator() = default;

    // The device was switched on.
    virtual void start() = 0;
    // A complete line of the console, without its line end.
    virtual void console_line(std::string_view line) = 0;
    // A tone of the speaker began.
    virtual void tone(int hz, int length_ms) = 0;
};

// What operators call, but for the first only where it is given.
struct OperatorCalls {
    std::function<void(const FaultSetting&)> apply_fault;
    // It came to the setup's stop.
    std::function<void()> stop{};
    // By start(), once the steps of a scenario that have a time are planned: who adds steps while
    // the run goes on has his place there.
    std::function<void()> after_steps{};
    // The automatic operator did all that ends a run, and left.
    std::function<void()> left{};
};

// Everybody that the setup asks for: the automatic operator, the steps of a scenario, or
// nobody. Device and surroundings must outlive the operator, and it what it planned with
// surroundings.at(), unless that does not happen any more.
std::unique_ptr<Operator> make_operator(const Setup& setup, Device& device,
                                        Surroundings& surroundings, const OperatorCalls& calls);

} // namespace k4sim
