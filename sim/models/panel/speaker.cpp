#include "sim/models/panel/speaker.h"

#include <tuple>

namespace k4sim {

namespace {

std::int64_t rounded_hz(std::uint32_t divider) {
    return divider == 0 ? 0 : (speaker_clock_hz + divider / 2) / divider;
}

constexpr Expectation speaker_expectations[] = {
    {"speaker.device=*", Finding::blocked, "without a speaker the panel is not used either"},
    {"speaker.*", Finding::operator_, "only who listens can tell how a beep sounds"},
};

} // namespace

void Speaker::name_sites(FaultSites& sites) {
    sites.about("Frontpanel", speaker_expectations);
    sites.add("speaker.device", "missing", [this](bool broken) { set_present(!broken); });
    for (const auto& [site, way, flag] :
         {std::tuple("speaker.coil", "open", &Speaker::coil_open_),
          std::tuple("speaker.timer", "dead", &Speaker::timer_dead_),
          std::tuple("speaker.clock", "halved", &Speaker::flat_)})
        sites.add(site, way, [this, flag](bool broken) { this->*flag = broken; });
}

void Speaker::set_present(bool present) {
    present_ = present;
    if (!present) silence();
}

void Speaker::set_divider(std::uint32_t divider) {
    if (divider == 0 || !audible()) {
        silence();
        return;
    }
    if (flat_) divider *= 2;
    surroundings_.event("speaker", "sound",
                        {{"divider", std::int64_t{divider}}, {"hz", rounded_hz(divider)}});
    begin(divider);
}

void Speaker::tone(std::uint32_t divider, std::uint32_t length_ms) {
    if (divider == 0 || length_ms == 0 || !audible()) {
        silence();
        return;
    }
    if (flat_) divider *= 2;
    surroundings_.event("speaker", "tone",
                        {{"divider", std::int64_t{divider}},
                         {"hz", rounded_hz(divider)},
                         {"ms", std::int64_t{length_ms}}});
    begin(divider);
    if (timer_dead_) return;
    const std::uint64_t number = tones_;
    surroundings_.at(surroundings_.now() + Microseconds{length_ms} * 1000, [this, number] {
        if (number == tones_) silence();
    });
}

std::uint32_t Speaker::frequency_hz() const {
    return static_cast<std::uint32_t>(rounded_hz(divider_));
}

void Speaker::begin(std::uint32_t divider) {
    divider_ = divider;
    ++tones_;
    begun_ = surroundings_.now();
    if (surroundings_.wires() != nullptr) swing(0);
    if (on_change_) on_change_();
}

// The wire of a sound that somebody looks at, from its half wave of this number on.
void Speaker::swing(std::int64_t half_waves) {
    surroundings_.wire(Wire::speaker, half_waves % 2 == 0);
    const std::int64_t next = half_waves + 1;
    const Microseconds time =
        next * divider_ * us_per_second / (2 * std::int64_t{speaker_clock_hz});
    surroundings_.at(begun_ + time, [this, next, number = tones_] {
        if (number == tones_ && sounding()) swing(next);
    });
}

void Speaker::silence() {
    if (!sounding()) return;
    divider_ = 0;
    surroundings_.event("speaker", "silence");
    surroundings_.wire(Wire::speaker, 0);
    if (on_change_) on_change_();
}

} // namespace k4sim
