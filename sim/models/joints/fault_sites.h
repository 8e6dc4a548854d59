// The places of a device at which one thing can break: a wire, a bit of a register, a contact, a
// converter. Each model names its own, and beside them what a run of the self-test makes of them.
#pragma once

#include "sim/setup.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

// What becomes of a run with the fault, against one without.
enum class Finding {
    detected,   // it does not pass, and the row of the unit says so
    misleading, // it does not pass, but another row says so
    operator_,  // it passes, and whoever stands at the panel can see or hear what is wrong
    escaped,    // it passes
    blocked     // nobody at the panel can end it
};

std::string_view name_of(Finding finding);

// A set of boards.
using Boards = unsigned;
constexpr Boards on(Board board) { return 1U << static_cast<unsigned>(board); }
inline constexpr Boards on_all = ~0U;
inline constexpr Boards on_aes = on(Board::aes);
inline constexpr Boards on_plain = on(Board::plain);
inline constexpr Boards on_i2c = on(Board::i2c);
inline constexpr Boards on_engine = on(Board::engine);

// What is expected of the faults that match the pattern, "SITE=WAY" with *, ? and [] in it.
struct Expectation {
    std::string_view pattern;
    Finding expected;
    std::string_view why; // in one sentence; of what is not detected
    Boards boards = on_all;
};

// One way to break one site.
struct SiteFault {
    std::string fault;     // "SITE=WAY", such as "cpld.status.bit3=stuck-1"
    std::string_view unit; // the status row whose concern it is; empty: none
    Finding expected = Finding::detected;
    std::string_view why{}; // empty of what is detected
};

class FaultSites {
public:
    // Breaks the site in this way, or mends that.
    using Act = std::function<void(bool broken)>;

    // The seed tells which times are the bad ones of a fault that comes and goes.
    FaultSites(Board board, std::uint64_t seed) : board_(board), seed_(seed) {}

    // What is said of the sites that are named from now on: their unit, and those that a run does
    // not detect. The first pattern that fits counts.
    void about(std::string_view unit, std::span<const Expectation> expectations = {}) {
        unit_ = unit;
        expectations_ = expectations;
    }

    void add(std::string_view site, std::string_view way, Act act);

    Board board() const { return board_; }
    std::uint64_t seed() const { return seed_; }

    const std::vector<SiteFault>& all() const { return faults_; }
    // Breaks or mends; false when there is no such site or way.
    bool work(std::string_view site, std::string_view way, bool broken) const;

private:
    Board board_;
    std::uint64_t seed_;
    std::string_view unit_;
    std::span<const Expectation> expectations_;
    std::vector<SiteFault> faults_;
    std::vector<Act> acts_; // of each fault
};

// Whether the text fits the pattern with *, ? and [] in it.
bool fits_pattern(std::string_view pattern, std::string_view text);

// The same; a pattern without any of these need only be somewhere in the name.
bool is_named_like(std::string_view pattern, std::string_view name);

// The first of the expectations that fits; null when none does.
const Expectation* expectation_of(std::span<const Expectation> expectations, Board board,
                                  std::string_view fault);

} // namespace k4sim
