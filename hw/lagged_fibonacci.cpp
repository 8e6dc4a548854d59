#include "hw/lagged_fibonacci.h"

#include <utility>

namespace {

constexpr std::size_t scatter = 21;
constexpr std::size_t distance = 31;
constexpr std::size_t warmUpPasses = 4;

} // namespace

LaggedFibonacci::LaggedFibonacci() {
    std::uint32_t previous = 1;
    std::uint32_t current = 0;
    for (std::size_t i = 0; i < stateSize; ++i) {
        state_[scatter * i % stateSize] = current;
        previous = std::exchange(current, previous - current);
    }
    for (std::size_t i = 0; i < warmUpPasses * stateSize; ++i)
        next();
}

std::uint32_t LaggedFibonacci::next() {
    std::uint32_t& word = state_[index_];
    word -= state_[(index_ + distance) % stateSize];
    index_ = (index_ + 1) % stateSize;
    return word;
}
