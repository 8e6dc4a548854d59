#include "sim/models/lines/serial_adapter.h"

#include <string>

namespace k4sim {

namespace {

constexpr int frame_bits = 10; // start, eight data bits, stop
constexpr int data_bits = 8;

constexpr std::pair<std::string_view, unsigned> paces[] = {
    {"-50%", 50}, {"-10%", 90}, {"-3%", 97}, {"+3%", 103}, {"+10%", 110}};

constexpr Expectation serial_expectations[] = {
    {"serial?.?x.bit7=stuck-0", Finding::escaped, "the texts that are sent have seven bits"},
    {"serial?.rx.latency=5s", Finding::detected, ""}, // 100 rounds take longer than anybody waits
    {"serial?.rx.latency=*", Finding::escaped, "the test waits for an echo as long as it takes"},
    {"serial?.speed=[-+]3%", Finding::escaped, "a receiver bears some percent"},
};

Nanoseconds bit_ns(unsigned baud) { return us_per_second * ns_per_us / baud; }

} // namespace

std::uint8_t sampled_byte(std::uint8_t sent, unsigned sender_baud, unsigned receiver_baud) {
    const unsigned frame = (0x100u | sent) << 1; // the start bit is 0; then stop and idle
    unsigned received = 0;
    for (unsigned bit = 0; bit < data_bits; ++bit) {
        const std::uint64_t half_bits = 2 * bit + 3; // of the receiver, since the start's edge
        const std::uint64_t at = half_bits * sender_baud / (std::uint64_t{2} * receiver_baud);
        if (at >= frame_bits || (frame >> at & 1) != 0) received |= 1u << bit;
    }
    return static_cast<std::uint8_t>(received);
}

SerialAdapter::SerialAdapter(int number, Surroundings& surroundings)
    : number_(number), surroundings_(surroundings) {}

void SerialAdapter::plug() {
    if (std::exchange(plugged_, true)) return;
    event("plugged");
}

void SerialAdapter::unplug() {
    if (!std::exchange(plugged_, false)) return;
    event("unplugged");
    drop_unsent();
    hang_up();
}

void SerialAdapter::set_pace(unsigned percent) {
    cut_frame();
    pace_percent_ = percent;
    begin();
}

void SerialAdapter::receive(std::uint8_t byte, unsigned sender_baud) {
    for (unsigned times = rx_joint_.pass(byte); times > 0; --times) {
        if (rx_joint_.delay() == 0)
            take(byte, sender_baud);
        else
            surroundings_.at(surroundings_.now() + rx_joint_.delay(),
                             [this, byte, sender_baud] { take(byte, sender_baud); });
    }
}

void SerialAdapter::take(std::uint8_t byte, unsigned sender_baud) {
    if (!plugged_) return;
    tell_frame(number_ == 1 ? Wire::rx1 : Wire::rx2, byte, sender_baud,
               surroundings_.now() * ns_per_us - frame_bits * bit_ns(sender_baud));
    if (end_ == nullptr || line_baud() == 0) return;
    const std::pair speeds(sender_baud, line_baud());
    if (speeds.first != speeds.second && speeds != mismatch_)
        surroundings_.event("serial", "speed-mismatch",
                            {{"adapter", std::int64_t{number_}},
                             {"sent_baud", std::int64_t{speeds.first}},
                             {"received_baud", std::int64_t{speeds.second}}});
    mismatch_ = speeds;
    end_->arrive(sampled_byte(byte, sender_baud, line_baud()));
}

void SerialAdapter::name_sites(FaultSites& sites) {
    sites.about("USB Ports", serial_expectations);
    const std::string name = "serial" + std::to_string(number_);
    tx_joint_.name_sites(sites, name + ".tx", ByteJoint::Latency::none);
    rx_joint_.name_sites(sites, name + ".rx", ByteJoint::Latency::some);
    for (const auto& [way, percent] : paces)
        sites.add(name + ".speed", way,
                  [this, percent](bool broken) { set_pace(broken ? percent : 100); });
}

void SerialAdapter::set_baud(unsigned baud) {
    if (baud == baud_) return;
    cut_frame();
    baud_ = baud;
    begin();
}

bool SerialAdapter::refuses_output() const {
    if (output_refused_) event("output-refused");
    return output_refused_;
}

bool SerialAdapter::refuses_settings() const {
    if (settings_refused_) event("settings-refused");
    return settings_refused_;
}

void SerialAdapter::send(std::span<const std::uint8_t> bytes) {
    const bool idle = unsent_.empty();
    unsent_.insert(unsent_.end(), bytes.begin(), bytes.end());
    if (idle) begin();
}

void SerialAdapter::drop_unsent() {
    cut_frame();
    unsent_.clear();
    begin();
}

void SerialAdapter::hang_up() {
    if (const auto end = std::exchange(end_, nullptr)) end->hang_up();
}

Microseconds SerialAdapter::sent_at(std::size_t frames) const {
    if (unsent_.empty() || line_baud() == 0) return std::numeric_limits<Microseconds>::max();
    const auto bits = static_cast<Microseconds>(sent_ + frames) * frame_bits;
    return begun_ + (bits * us_per_second + line_baud() - 1) / line_baud();
}

// The first of the unsent bytes begins now.
void SerialAdapter::begin() {
    ++generation_;
    begun_ = surroundings_.now();
    sent_ = 0;
    plan();
}

// What the line has had of a frame that ends too soon.
void SerialAdapter::cut_frame() {
    if (unsent_.empty() || line_baud() == 0) return;
    tell_frame(tx(), unsent_.front(), line_baud(), frame_begin());
    surroundings_.wire(tx(), 1);
}

void SerialAdapter::plan() {
    if (unsent_.empty() || line_baud() == 0) return;
    surroundings_.at(next_sent_at(), [this, generation = generation_] {
        if (generation == generation_) frame_sent();
    });
}

void SerialAdapter::frame_sent() {
    std::uint8_t byte = unsent_.front();
    const unsigned times = tx_joint_.pass(byte);
    if (times > 0) tell_frame(tx(), byte, line_baud(), frame_begin());
    unsent_.pop_front();
    ++sent_;
    plan();
    for (unsigned time = 0; carry_ && time < times; ++time)
        carry_(byte);
}

// Up to now, from start bit to stop bit.
void SerialAdapter::tell_frame(Wire wire, std::uint8_t byte, unsigned baud, Nanoseconds begin) {
    Wires* const wires = surroundings_.wires();
    if (wires == nullptr) return;
    const Nanoseconds now = surroundings_.now() * ns_per_us;
    for (int bit = 0; bit < frame_bits; ++bit)
        if (const Nanoseconds when = begin + bit * bit_ns(baud); when <= now)
            wires->set(wire, (0x100u | byte) << 1 >> bit & 1, when);
}

void SerialAdapter::event(std::string_view what) const {
    surroundings_.event("serial", what, {{"adapter", std::int64_t{number_}}});
}

} // namespace k4sim
