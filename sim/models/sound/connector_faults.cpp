#include "sim/models/sound/connector_faults.h"

#include "sim/models/breaker.h"
#include "sim/models/device.h"
#include "sim/models/faults.h"

namespace k4sim {

namespace {

constexpr Microseconds drop_us = 600'000; // longer than from one look at the link to the next
constexpr Microseconds flap_down_us = 1'000'000;
constexpr Microseconds flap_up_us = 4'000'000; // shorter than a link must stay up to pass

void spoil_line(Device& device, ParallelLoopback::Defect defect, std::string_view line) {
    device.loopback().set(defect, static_cast<unsigned>(fault_number(line)));
}

NetworkLink& link_of(Device& device, std::string_view name) { return *device.links().find(name); }

using Defect = ParallelLoopback::Defect;

constexpr Breaker<Device> breakers[] = {
    {"link-absent", [](Device& device, auto name) { link_of(device, name).remove(); }},
    {"link-down", [](Device& device, auto name) { link_of(device, name).disconnect(); }},
    {"link-dropped", [](Device& device, auto name) { link_of(device, name).drop(drop_us); }},
    {"link-flapping",
     [](Device& device, auto name) { link_of(device, name).flap(flap_down_us, flap_up_us); }},
    {"link-refused", [](Device& device, auto name) { link_of(device, name).set_refusing(); }},
    {"parallel-flaky",
     [](Device& device, auto value) {
         const auto [line, readings] = fault_pair(value);
         device.loopback().set_flaky(static_cast<unsigned>(line), static_cast<unsigned>(readings));
     }},
    {"parallel-high", [](Device& device, auto line) { spoil_line(device, Defect::high, line); }},
    {"parallel-inverted",
     [](Device& device, auto line) { spoil_line(device, Defect::inverted, line); }},
    {"parallel-low", [](Device& device, auto line) { spoil_line(device, Defect::low, line); }},
    {"parallel-open", [](Device& device, auto line) { spoil_line(device, Defect::open, line); }},
    {"parallel-tied-high",
     [](Device& device, auto line) { spoil_line(device, Defect::tied_high, line); }},
    {"parallel-tied-low",
     [](Device& device, auto line) { spoil_line(device, Defect::tied_low, line); }},
};

} // namespace

bool strike_connectors(Device& device, std::string_view name, std::string_view value) {
    return strike_by_name(breakers, device, name, value);
}

} // namespace k4sim
