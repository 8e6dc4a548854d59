#include "sim/operator/hands.h"

#include "sim/models/device.h"

#include <cstdlib>

namespace k4sim {

void Hands::act(const Action& action) {
    switch (action.kind) {
    case Action::Kind::press:
        press(action.key);
        surroundings_.at(surroundings_.now() + key_hold_us,
                         [this, key = action.key] { release(key); });
        break;
    case Action::Kind::hold:
        press(action.key);
        break;
    case Action::Kind::release:
        release(action.key);
        break;
    case Action::Kind::turn:
        turn(action.encoder, action.steps);
        break;
    case Action::Kind::plug:
        plug(action.cable, true);
        break;
    case Action::Kind::unplug:
        plug(action.cable, false);
        break;
    case Action::Kind::fault:
        apply_fault_({action.name, action.value, 0, false});
        break;
    case Action::Kind::clear:
        apply_fault_({action.name, action.value, 0, true});
        break;
    }
}

void Hands::press(char key) {
    if (device_.keys() == nullptr) return;
    surroundings_.event("operator", "press", {{"key", std::string_view(&key, 1)}});
    device_.keys()->press(key);
}

void Hands::release(char key) {
    if (device_.keys() == nullptr) return;
    surroundings_.event("operator", "release", {{"key", std::string_view(&key, 1)}});
    device_.keys()->release(key);
}

void Hands::turn(int encoder, int steps) {
    if (device_.keys() == nullptr || steps == 0) return;
    const int step = steps > 0 ? 1 : -1;
    surroundings_.event("operator", "turn",
                        {{"encoder", std::int64_t{encoder}}, {"step", std::int64_t{step}}});
    device_.keys()->turn(encoder, step);
    if (steps != step)
        surroundings_.at(surroundings_.now() + knob_step_us,
                         [this, encoder, left = steps - step] { turn(encoder, left); });
}

void Hands::plug(Action::Cable cable, bool plugged) {
    if (cable == Action::Cable::analog)
        device_.sound_card().plug_analog(plugged);
    else
        device_.sound_card().plug_digital(plugged);
}

} // namespace k4sim
