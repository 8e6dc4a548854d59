#include "sim/models/board/loopback_faults.h"

#include "sim/models/board/parallel_loopback.h"
#include "sim/models/breaker.h"
#include "sim/models/faults.h"

namespace k4sim {

namespace {

template <ParallelLoopback::Defect defect, bool there>
void set(ParallelLoopback& loopback, std::string_view line) {
    loopback.set(defect, static_cast<unsigned>(fault_number(line)), there);
}

template <ParallelLoopback::Defect defect>
constexpr Breaker<ParallelLoopback> line_defect(std::string_view name) {
    return {name, set<defect, true>, set<defect, false>};
}

using Defect = ParallelLoopback::Defect;

constexpr Breaker<ParallelLoopback> breakers[] = {
    {"parallel-flaky",
     [](ParallelLoopback& loopback, auto value) {
         const auto [line, readings] = fault_pair(value);
         loopback.set_flaky(static_cast<unsigned>(line), static_cast<unsigned>(readings));
     },
     [](ParallelLoopback& loopback, auto value) {
         loopback.set_flaky(static_cast<unsigned>(fault_pair(value).first), 0);
     }},
    line_defect<Defect::high>("parallel-high"),
    line_defect<Defect::inverted>("parallel-inverted"),
    line_defect<Defect::low>("parallel-low"),
    line_defect<Defect::open>("parallel-open"),
    line_defect<Defect::tied_high>("parallel-tied-high"),
    line_defect<Defect::tied_low>("parallel-tied-low"),
};

} // namespace

bool work_on_loopback(Work work, ParallelLoopback& loopback, std::string_view name,
                      std::string_view value) {
    return work_by_name(breakers, work, loopback, name, value);
}

} // namespace k4sim
