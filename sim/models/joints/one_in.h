// Something that goes wrong now and then: once in each run of so many times, by chance when.
#pragma once

#include <cstdint>
#include <random>

namespace k4sim {

class OneIn {
public:
    // Each of 0: never. The seed tells which one of a run it is.
    explicit OneIn(unsigned each = 0, std::uint64_t seed = 0)
        : each_(each), random_(static_cast<std::minstd_rand::result_type>(seed)) {}

    bool ever() const { return each_ != 0; }

    // Whether it goes wrong this time.
    bool strikes() {
        if (each_ == 0) return false;
        if (time_ == 0) bad_ = static_cast<unsigned>(random_() % each_);
        const bool bad = time_ == bad_;
        time_ = (time_ + 1) % each_;
        return bad;
    }

private:
    unsigned each_;
    unsigned time_ = 0; // of this run
    unsigned bad_ = 0;
    std::minstd_rand random_;
};

} // namespace k4sim
