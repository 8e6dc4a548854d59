#include "sim/models/board/loopback_faults.h"

#include "sim/models/board/parallel_loopback.h"
#include "sim/models/breaker.h"
#include "sim/models/faults.h"

namespace k4sim {

namespace {

template <ParallelLoopback::Defect defect>
void spoil(ParallelLoopback& loopback, std::string_view line) {
    loopback.set(defect, static_cast<unsigned>(fault_number(line)));
}

using Defect = ParallelLoopback::Defect;

constexpr Breaker<ParallelLoopback> breakers[] = {
    {"parallel-flaky",
     [](ParallelLoopback& loopback, auto value) {
         const auto [line, readings] = fault_pair(value);
         loopback.set_flaky(static_cast<unsigned>(line), static_cast<unsigned>(readings));
     }},
    {"parallel-high", spoil<Defect::high>},
    {"parallel-inverted", spoil<Defect::inverted>},
    {"parallel-low", spoil<Defect::low>},
    {"parallel-open", spoil<Defect::open>},
    {"parallel-tied-high", spoil<Defect::tied_high>},
    {"parallel-tied-low", spoil<Defect::tied_low>},
};

} // namespace

bool strike_loopback(ParallelLoopback& loopback, std::string_view name, std::string_view value) {
    return strike_by_name(breakers, loopback, name, value);
}

} // namespace k4sim
