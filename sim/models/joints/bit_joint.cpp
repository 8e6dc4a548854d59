#include "sim/models/joints/bit_joint.h"

#include <algorithm>
#include <string>

namespace k4sim {

namespace {

constexpr struct {
    BitJoint::Way way;
    std::string_view name;
} bit_ways[] = {{BitJoint::stuck_0, "stuck-0"},
                {BitJoint::stuck_1, "stuck-1"},
                {BitJoint::inverted, "inverted"},
                {BitJoint::flaky_3, "flaky-3"},
                {BitJoint::flaky_100, "flaky-100"}};

void put(std::uint32_t& mask, unsigned bit, bool there) {
    mask = there ? mask | 1U << bit : mask & ~(1U << bit);
}

} // namespace

void BitJoint::name_bits(FaultSites& sites, std::string_view name, std::uint32_t mask,
                         unsigned ways) {
    for (unsigned bit = 0; bit < width; ++bit)
        if ((mask >> bit & 1) != 0)
            name_line(sites, std::string(name) + std::to_string(bit), bit, ways);
}

void BitJoint::name_line(FaultSites& sites, std::string_view name, unsigned bit, unsigned ways) {
    for (const auto& [way, way_name] : bit_ways)
        if ((ways & way) != 0)
            sites.add(name, way_name, [this, way, bit, seed = sites.seed()](bool broken) {
                set(way, bit, broken, seed);
            });
}

void BitJoint::name_constant(FaultSites& sites, std::string_view name, std::uint8_t value,
                             std::uint32_t mask) {
    name_bits(sites, name, mask & value, stuck_0);
    name_bits(sites, name, mask & ~std::uint32_t{value}, stuck_1);
}

void BitJoint::name_shorts(FaultSites& sites, std::string_view name, unsigned count,
                           unsigned reach) {
    for (unsigned one = 0; one < count; ++one)
        for (unsigned other = one + 1; other < count && other <= one + reach; ++other)
            for (const bool high_wins : {false, true})
                sites.add(std::string(name) + std::to_string(one) + "-" + std::to_string(other),
                          high_wins ? "tied-high" : "tied-low",
                          [this, tie = Short{1U << one | 1U << other, high_wins}](bool broken) {
                              set(tie, broken);
                          });
}

void BitJoint::set(Way way, unsigned bit, bool broken, std::uint64_t seed) {
    switch (way) {
    case stuck_0:
        put(low_, bit, broken);
        break;
    case stuck_1:
        put(high_, bit, broken);
        break;
    case inverted:
        put(inverted_, bit, broken);
        break;
    case flaky_3:
    case flaky_100:
        flaky_[bit] = OneIn(!broken ? 0 : way == flaky_3 ? 3 : 100, seed);
        break;
    }
    settle();
}

void BitJoint::set(const Short& tie, bool broken) {
    if (broken)
        shorts_.push_back(tie);
    else
        std::erase(shorts_, tie);
    settle();
}

void BitJoint::settle() {
    sound_ = low_ == 0 && high_ == 0 && inverted_ == 0 && shorts_.empty() &&
             std::ranges::none_of(flaky_, &OneIn::ever);
    if (on_change_) on_change_();
}

std::uint32_t BitJoint::spoiled(std::uint32_t bits) {
    // Ties that share a wire join all their wires.
    for (std::size_t pass = 0; pass < shorts_.size(); ++pass)
        for (const auto& [pair, high_wins] : shorts_)
            if (const std::uint32_t levels = bits & pair; levels != 0 && levels != pair)
                bits = high_wins ? bits | pair : bits & ~pair;
    bits ^= inverted_;
    for (unsigned bit = 0; bit < width; ++bit)
        if (flaky_[bit].strikes()) bits ^= 1U << bit;
    return (bits | high_) & ~low_;
}

} // namespace k4sim
