#include "sim/models/lines/serial_adapters.h"

#include <algorithm>

namespace k4sim {

namespace {

constexpr std::uint8_t flipped_bit = 1;

// Counts down; true for the one that makes it 0.
bool is_due(int& count) { return count > 0 && --count == 0; }

int other(int number) { return 3 - number; }

} // namespace

SerialAdapters::SerialAdapters(Surroundings& surroundings)
    : surroundings_(surroundings), ports_{{{{1, surroundings}, 0}, {{2, surroundings}, 1}}} {
    for (const int number : {1, 2})
        (*this)[number].set_on_sent([this, number](std::uint8_t byte) { carry(number, byte); });
}

SerialAdapter* SerialAdapters::find(int device_number) {
    for (Port& port : ports_)
        if (port.device_number == device_number && port.adapter.plugged()) return &port.adapter;
    return nullptr;
}

SerialAdapter& SerialAdapters::operator[](int number) {
    return ports_.at(static_cast<std::size_t>(number - 1)).adapter;
}

void SerialAdapters::set_device_number(int number, int device_number) {
    const auto index = static_cast<std::size_t>(number - 1);
    const int former = ports_.at(index).device_number;
    if (ports_.at(1 - index).device_number == device_number) renumber(other(number), former);
    renumber(number, device_number);
}

void SerialAdapters::come_late(Microseconds time_us) {
    for (Port& port : ports_)
        port.adapter.unplug();
    surroundings_.at(surroundings_.now() + time_us, [this] {
        for (Port& port : ports_)
            port.adapter.plug();
    });
}

void SerialAdapters::name_sites(FaultSites& sites) {
    for (Port& port : ports_)
        port.adapter.name_sites(sites);
}

Microseconds SerialAdapters::next_frame_at() const {
    return std::min(ports_[0].adapter.next_sent_at(), ports_[1].adapter.next_sent_at());
}

void SerialAdapters::carry(int number, std::uint8_t byte) {
    SerialAdapter* const receiver = behind_cable(number);
    if (receiver == nullptr) return;
    const auto event = [&](std::string_view what) {
        surroundings_.event("serial", what,
                            {{"from", std::int64_t{number}}, {"sent", std::int64_t{byte}}});
    };
    if (is_due(until_flipped_)) {
        event("byte-flipped");
        byte ^= flipped_bit;
    }
    if (is_due(until_lost_))
        event("byte-lost");
    else
        receiver->receive(byte, (*this)[number].line_baud());
}

SerialAdapter* SerialAdapters::behind_cable(int number) {
    switch (cable_) {
    case SerialCable::crossed:
        return &(*this)[other(number)];
    case SerialCable::looped:
        return &(*this)[number];
    case SerialCable::none:
        break;
    }
    return nullptr;
}

void SerialAdapters::renumber(int number, int device_number) {
    SerialAdapter& adapter = (*this)[number];
    const bool was_plugged = adapter.plugged();
    adapter.unplug();
    ports_.at(static_cast<std::size_t>(number - 1)).device_number = device_number;
    surroundings_.event(
        "serial", "numbered",
        {{"adapter", std::int64_t{number}}, {"device", std::int64_t{device_number}}});
    if (was_plugged) adapter.plug();
}

} // namespace k4sim
