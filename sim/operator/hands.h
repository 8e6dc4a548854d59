// What an operator's hands do at the panel and the cables; each action becomes an event of the
// record.
#pragma once

#include "sim/models/surroundings.h"
#include "sim/operator/action.h"
#include "sim/setup.h"

#include <functional>

namespace k4sim {

class Device;

// How long a pressed key is held: longer than the program may need to look at the keys
// again, 100 ms and the quarter of a second that a whole picture takes over software I2C.
inline constexpr Microseconds key_hold_us = 400'000;
// Between two steps of a knob: counters lose no step, but a jump looks like noise.
inline constexpr Microseconds knob_step_us = 150'000;

class Hands {
public:
    Hands(Device& device, Surroundings& surroundings,
          std::function<void(const FaultSetting&)> apply_fault)
        : device_(device), surroundings_(surroundings), apply_fault_(std::move(apply_fault)) {}

    // Begins the action; its end (a release, the further steps of a knob) comes by itself.
    // Without a panel keys and knobs do nothing.
    void act(const Action& action);

private:
    void press(char key);
    void release(char key);
    void turn(int encoder, int steps);
    void plug(Action::Cable cable, bool plugged);

    Device& device_;
    Surroundings& surroundings_;
    std::function<void(const FaultSetting&)> apply_fault_;
};

} // namespace k4sim
