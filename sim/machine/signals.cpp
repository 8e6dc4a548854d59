#include "sim/machine/signals.h"

#include "sim/time/signals.h"

#include <csignal>

namespace k4sim {

namespace {

constexpr struct {
    std::string_view name;
    int number;
} sendable_signals[] = {{"HUP", SIGHUP}, {"INT", SIGINT}, {"TERM", SIGTERM}};

} // namespace

void send_signal(std::string_view name) {
    for (const auto& signal : sendable_signals)
        if (signal.name == name) signal_process(made_signal(signal.number, SI_USER));
}

} // namespace k4sim
