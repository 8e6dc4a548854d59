// Which of the threads that can run does run, by chance: each has a priority that was drawn, and
// the highest goes on. Now and then, at a point where a thread calls the device, its priority is
// drawn anew. The more seldom, the longer stay the orders that few changes lead to: a run draws
// first how seldom, so that many runs see both.
#pragma once

#include <cstdint>
#include <random>

namespace k4sim {

class Exploration {
public:
    explicit Exploration(std::uint64_t seed)
        : random_(seed), points_per_change_(std::uint64_t{1} << random_() % change_scales) {}

    // Above 0.
    std::int64_t priority() { return static_cast<std::int64_t>(random_() >> 2) + 1; }

    // Below all that were given before: of a thread that lets the others go on.
    std::int64_t lowest() { return --lowest_; }

    // Whether the priority changes at this point.
    bool changes() { return random_() % points_per_change_ == 0; }

private:
    static constexpr std::uint64_t change_scales = 16;

    std::mt19937_64 random_; // the same numbers everywhere
    std::uint64_t points_per_change_;
    std::int64_t lowest_ = 0;
};

} // namespace k4sim
