// A rotary encoder: two contacts that open and close a quarter of a cycle apart, and the counter
// that the panel's controller makes of them. A step of the knob is one change of one contact.
#pragma once

#include "sim/models/joints/bit_joint.h"

#include <functional>
#include <string>

namespace k4sim {

class Encoder {
public:
    explicit Encoder(unsigned counter_bits) : counter_mask_((1U << counter_bits) - 1) {}

    // The knob goes a step to the right, or to the left.
    void step(bool right);
    // Counter and knob at 0.
    void reset();

    // As the controller tells it.
    unsigned counter() { return counter_wires_.through(counter_) & counter_mask_; }
    // The levels of both contacts.
    unsigned phases() { return phase_wires_.through(gray(position_)) & 3; }

    // Sites "NAME.phaseA", "NAME.phaseB", "NAME.knob" and "NAME.counter.bitN". `changed` is called
    // when the counter may have changed.
    void name_sites(FaultSites& sites, const std::string& name, std::function<void()> changed);

private:
    // Of a place in the cycle, and back again.
    static unsigned gray(unsigned place) { return (place & 3) ^ (place & 3) >> 1; }

    void turn(bool right);
    void look();

    unsigned counter_mask_;
    unsigned position_ = 0;
    unsigned seen_ = 0; // phases, at the last look
    unsigned counter_ = 0;
    unsigned steps_ = 0;   // that the hand has made
    bool skips_ = false;   // every other one
    bool bounces_ = false; // back and forth again
    bool reversed_ = false;
    BitJoint phase_wires_, counter_wires_;
};

} // namespace k4sim
