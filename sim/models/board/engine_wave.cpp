#include "sim/models/board/engine_wave.h"

namespace k4sim {

namespace {

constexpr int bits_of_byte = 8;
constexpr Nanoseconds step_ns = 100;

} // namespace

void EngineWave::byte(Microseconds begin, std::uint8_t byte, bool after_start) {
    if (surroundings_.wires() == nullptr) return;
    if (after_start) {
        sda(begin, 0, true);
        scl(begin, step_ns, true);
        sda(begin, 2 * step_ns, false);
    }
    for (int i = 0; i < bits_of_byte; ++i) {
        const Nanoseconds low_from = i == 0 && after_start ? 3 * step_ns : 0;
        scl(begin + i, low_from, false);
        bit(begin + i, (byte >> (bits_of_byte - 1 - i) & 1) != 0, low_from + step_ns, 10 * step_ns);
    }
}

void EngineWave::answer(Microseconds end, bool acknowledged, bool then_stop) {
    if (surroundings_.wires() == nullptr) return;
    const Microseconds begin = end - 1;
    scl(begin, 0, false);
    bit(begin, !acknowledged, step_ns, (then_stop ? 6 : 10) * step_ns);
    if (!then_stop) return;
    sda(begin, 7 * step_ns, false);
    scl(begin, 8 * step_ns, true);
    sda(begin, 9 * step_ns, true);
}

// The clock has been low.
void EngineWave::bit(Microseconds begin, bool level, Nanoseconds set_at, Nanoseconds high_to) {
    sda(begin, set_at, level);
    scl(begin, set_at + 2 * step_ns, true);
    scl(begin, high_to, false);
}

void EngineWave::scl(Microseconds begin, Nanoseconds after, bool level) {
    surroundings_.wires()->set(Wire::scl, level, begin * ns_per_us + after);
}

void EngineWave::sda(Microseconds begin, Nanoseconds after, bool level) {
    surroundings_.wires()->set(Wire::sda, bus_.sda_stuck().value_or(level),
                               begin * ns_per_us + after);
}

} // namespace k4sim
