#include "sim/machine/signals.h"

#include "sim/time/scheduler.h"

#include <csignal>
#include <unistd.h>

namespace k4sim {

namespace {

constexpr struct {
    std::string_view name;
    int number;
} signals[] = {{"HUP", SIGHUP}, {"INT", SIGINT}, {"TERM", SIGTERM}};

constexpr char arrival = 0;

} // namespace

void send_signal(std::string_view name) {
    for (const auto& signal : signals)
        if (signal.name == name) kill(getpid(), signal.number);
    scheduler().wake_all(signal_arrival());
}

const void* signal_arrival() { return &arrival; }

} // namespace k4sim
