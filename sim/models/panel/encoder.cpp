#include "sim/models/panel/encoder.h"

namespace k4sim {

void Encoder::step(bool right) {
    if (skips_ && ++steps_ % 2 == 0) return;
    turn(right != reversed_);
    if (!bounces_) return;
    turn(right == reversed_);
    turn(right != reversed_);
}

void Encoder::reset() { position_ = seen_ = counter_ = steps_ = 0; }

void Encoder::turn(bool right) {
    position_ += right ? 1 : -1U;
    look();
}

// A change of one contact is a step; of a change of both nobody knows the way.
void Encoder::look() {
    const unsigned phases = this->phases();
    const unsigned moved = (gray(phases) - gray(seen_)) & 3;
    seen_ = phases;
    if (moved == 1) counter_ = (counter_ + 1) & counter_mask_;
    if (moved == 3) counter_ = (counter_ - 1) & counter_mask_;
}

void Encoder::name_sites(FaultSites& sites, const std::string& name,
                         std::function<void()> changed) {
    phase_wires_.set_on_change([this, changed] {
        look();
        changed();
    });
    counter_wires_.set_on_change(changed);
    phase_wires_.name_line(sites, name + ".phaseA", 0, BitJoint::stuck);
    phase_wires_.name_line(sites, name + ".phaseB", 1, BitJoint::stuck);
    counter_wires_.name_bits(sites, name + ".counter.bit", counter_mask_, BitJoint::stuck);
    for (const auto& [way, flag] :
         {std::pair("skipping", &Encoder::skips_), std::pair("bouncing", &Encoder::bounces_),
          std::pair("reversed", &Encoder::reversed_)})
        sites.add(name + ".knob", way, [this, flag](bool broken) { this->*flag = broken; });
}

} // namespace k4sim
