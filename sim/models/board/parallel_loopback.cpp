#include "sim/models/board/parallel_loopback.h"

#include <bit>
#include <string>

namespace k4sim {

namespace {

constexpr Expectation loopback_expectations[] = {
    {"parallel.*", Finding::escaped,
     "the test looks for the port at 0xD000 only, where this board has none", on_engine},
    {"parallel.in.bit*=flaky-100", Finding::escaped,
     "ten good passes in a row take 40 looks at a line, and come sooner than a bad look at one"},
};

constexpr std::uint32_t all_lines = (1U << ParallelLoopback::lines) - 1;

} // namespace

void ParallelLoopback::name_sites(FaultSites& sites) {
    sites.about("ParallelPrt", loopback_expectations);
    out_.name_bits(sites, "parallel.out.bit", all_lines, BitJoint::steady);
    in_.name_bits(sites, "parallel.in.bit", all_lines,
                  BitJoint::steady | BitJoint::flaky_3 | BitJoint::flaky_100);
    for (unsigned line = 0; line < lines; ++line)
        sites.add("parallel.wire" + std::to_string(line), "open",
                  [this, line](bool broken) { set(Defect::open, line, broken); });
    plug_.name_shorts(sites, "parallel.wires", lines, lines);
}

void ParallelLoopback::drive(std::uint8_t outputs) {
    outputs_ = outputs;
    tell(levels());
}

std::uint8_t ParallelLoopback::read() {
    const auto inputs = in_.through_byte(levels() ^ wrong_by_chance());
    tell(inputs);
    if (inputs != outputs_) report(inputs);
    return inputs;
}

void ParallelLoopback::set(Defect defect, unsigned line, bool there) {
    const unsigned bit = 1U << line;
    with(defect) = static_cast<std::uint8_t>(there ? with(defect) | bit : with(defect) & ~bit);
    tell(levels());
}

std::uint8_t ParallelLoopback::levels() {
    unsigned levels = plug_.through(out_.through(outputs_));
    // Shorts side by side join all their lines: a level travels along them, up or down.
    for (unsigned pass = 0; pass < lines; ++pass)
        for (unsigned line = 0; line + 1 < lines; ++line) {
            const unsigned pair = 3U << line;
            if ((with(Defect::tied_high) >> line & 1) != 0 && (levels & pair) != 0) levels |= pair;
            if ((with(Defect::tied_low) >> line & 1) != 0 && (levels & pair) != pair)
                levels &= ~pair;
        }
    levels ^= with(Defect::inverted);
    levels |= with(Defect::high);
    levels &= ~static_cast<unsigned>(with(Defect::low) | with(Defect::open));
    return static_cast<std::uint8_t>(levels);
}

std::uint8_t ParallelLoopback::wrong_by_chance() {
    unsigned wrong = 0;
    for (unsigned line = 0; line < lines; ++line) {
        Flaky& flaky = flaky_[line];
        if (flaky.readings == 0) continue;
        if (flaky.reading == 0) flaky.wrong = static_cast<unsigned>(random_() % flaky.readings);
        if (flaky.reading == flaky.wrong) wrong |= 1U << line;
        flaky.reading = (flaky.reading + 1) % flaky.readings;
    }
    return static_cast<std::uint8_t>(wrong);
}

void ParallelLoopback::tell(std::uint8_t inputs) {
    surroundings_.wire(Wire::parallel_out, outputs_);
    surroundings_.wire(Wire::parallel_in, inputs);
}

void ParallelLoopback::report(std::uint8_t inputs) {
    if (!std::has_single_bit(++mismatches_)) return;
    surroundings_.event("parallel", "mismatch",
                        {{"driven", std::int64_t{outputs_}},
                         {"read", std::int64_t{inputs}},
                         {"count", std::int64_t{mismatches_}}});
}

} // namespace k4sim
