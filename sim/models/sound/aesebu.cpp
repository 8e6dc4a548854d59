#include "sim/models/sound/aesebu.h"

#include <algorithm>
#include <string>

namespace k4sim {

namespace {

// One rate in all its codes. Where a code is missing, the rate can't be told.
struct RateCode {
    unsigned rate_hz;
    std::uint8_t transmitter;  // in SPdif
    std::uint8_t receiver;     // in the receiver status
    std::uint8_t professional; // byte 0, bits 6 and 7
    std::uint8_t consumer;     // byte 3, low four bits
};

constexpr RateCode no_rate{0, 0x00, 0x0E, 0x00, 0x01};
constexpr RateCode rate_codes[] = {
    {32000, 0x14, 0x0C, 0xC0, 0x03}, {44100, 0x80, 0x0A, 0x40, 0x00},
    {48000, 0x00, 0x08, 0x80, 0x02}, {88200, 0x90, 0x06, 0x00, 0x08},
    {96000, 0x10, 0x04, 0x00, 0x0A},
};
constexpr std::uint8_t transmitter_mask = 0x94;
constexpr std::uint8_t consumer_flag = 0x01;     // in SPdif
constexpr std::uint8_t professional_flag = 0x01; // in byte 0
constexpr std::uint8_t professional_mask = 0xC0;
constexpr std::uint8_t consumer_mask = 0x0F;
constexpr std::uint8_t locked_flag = 0x01; // in the receiver status

const RateCode& code_of(unsigned rate_hz) {
    const auto found = std::ranges::find(rate_codes, rate_hz, &RateCode::rate_hz);
    return found == std::end(rate_codes) ? no_rate : *found;
}

unsigned transmitted_rate(std::uint8_t spdif) {
    const auto found =
        std::ranges::find(rate_codes, spdif & transmitter_mask, &RateCode::transmitter);
    return found == std::end(rate_codes) ? 0 : found->rate_hz;
}

std::uint8_t replaced(std::uint8_t byte, std::uint8_t mask, std::uint8_t bits) {
    return static_cast<std::uint8_t>((byte & ~mask) | bits);
}

void tell_rate(ChannelStatus& status, unsigned rate_hz) {
    const RateCode& code = code_of(rate_hz);
    if (status[0] & professional_flag)
        status[0] = replaced(status[0], professional_mask, code.professional);
    else
        status[3] = replaced(status[3], consumer_mask, code.consumer);
}

constexpr Expectation line_expectations[] = {
    {"aes.rate.[89]*", Finding::escaped, "the test goes up to 48000 Hz"},
    {"aes.status.byte3.*", Finding::escaped, "the professional format has no rate there"},
    {"aes.receiver.bit3=stuck-1", Finding::escaped, "it is 1 at all rates up to 48000 Hz"},
    {"aes.status.byte0.bit0=stuck-1", Finding::escaped, "the test sends this format only"},
    {"aes.audio?=silent", Finding::escaped, "nobody listens to the digital audio"},
    {"aes.lock=late", Finding::escaped, "a lock may come late"},
    {"aes.clock=*", Finding::escaped, "the receiver runs at the clock that comes, whatever it is"},
};

} // namespace

void AesEbu::name_sites(FaultSites& sites) {
    sites.about("AES/EBU", line_expectations);
    constexpr unsigned all_ways = BitJoint::steady;
    transmitter_bits_.set_on_change([this] { check(); });
    receiver_bits_.name_bits(sites, "aes.receiver.bit", locked_flag | no_rate.receiver, all_ways);
    format_bits_.name_bits(sites, "aes.status.byte0.bit", professional_flag | professional_mask,
                           all_ways);
    consumer_bits_.name_bits(sites, "aes.status.byte3.bit", consumer_mask, all_ways);
    transmitter_bits_.name_bits(sites, "aes.transmitter.bit", transmitter_mask, all_ways);
    for (const RateCode& code : rate_codes)
        sites.add("aes.rate." + std::to_string(code.rate_hz), "dead",
                  [this, rate_hz = code.rate_hz](bool broken) {
                      faults_.dead_rate_hz = broken ? rate_hz : 0;
                      check();
                  });
    sites.add("aes.lock", "late", [this](bool broken) { slow_lock_ = broken; });
    for (std::size_t channel = 0; channel < silent_.size(); ++channel)
        sites.add("aes.audio" + std::to_string(channel + 1), "silent",
                  [this, channel](bool broken) { silent_[channel] = broken; });
}

void AesEbu::carry(std::int64_t, unsigned, std::span<const Frame> sent, std::span<Frame> arriving) {
    if (locked_ && processing_)
        std::ranges::transform(sent, arriving.begin(), [this](const Frame& frame) {
            return Frame{silent_[0] ? 0 : frame.left, silent_[1] ? 0 : frame.right};
        });
    else
        std::ranges::fill(arriving, Frame{});
}

void AesEbu::set_transmitter(bool on) {
    if (on == transmitter_on_) return;
    transmitter_on_ = on;
    surroundings_.event("aes", "transmitter", {{"on", on}});
    check();
}

void AesEbu::set_spdif(std::uint8_t value) {
    spdif_ = value;
    check();
}

void AesEbu::set_default_status(const ChannelStatus& status) {
    default_status_ = status;
    channel_status_ = status;
}

void AesEbu::set_channel_status(const ChannelStatus& status) { channel_status_ = status; }

std::uint8_t AesEbu::receiver_status() {
    if (!locked_) return receiver_bits_.through_byte(no_rate.receiver);
    const unsigned rate_hz = faults_.measured_rate_hz.value_or(stream_rate_hz_);
    return receiver_bits_.through_byte(locked_flag | code_of(rate_hz).receiver);
}

ChannelStatus AesEbu::received_status() {
    ChannelStatus status{};
    if (!locked_) return status;
    if (spdif_ & consumer_flag)
        tell_rate(status, stream_rate_hz_);
    else
        status = channel_status_;
    if (faults_.status_rate_hz) tell_rate(status, *faults_.status_rate_hz);
    status[0] = format_bits_.through_byte(status[0]);
    status[3] = consumer_bits_.through_byte(status[3]);
    return status;
}

void AesEbu::set_stream_rate(unsigned rate_hz) {
    if (rate_hz == stream_rate_hz_) return;
    stream_rate_hz_ = rate_hz;
    set_locked(false);
    check();
}

void AesEbu::set_cable(bool plugged) {
    cable_ = plugged;
    check();
}

void AesEbu::set(const AesEbuFaults& faults) {
    faults_ = faults;
    check();
}

void AesEbu::lose_lock(Microseconds for_us) {
    disturbed_until_ = surroundings_.now() + for_us;
    set_locked(false);
    check();
}

bool AesEbu::line_fits() {
    return cable_ && transmitter_on_ && stream_rate_hz_ != 0 &&
           transmitted_rate(transmitter_bits_.through_byte(spdif_)) == stream_rate_hz_ &&
           stream_rate_hz_ != faults_.dead_rate_hz;
}

void AesEbu::check() {
    const std::uint64_t attempt = ++attempts_;
    if (!line_fits()) return set_locked(false);
    if (locked_) return;
    const Microseconds begin = std::max(surroundings_.now(), disturbed_until_);
    surroundings_.at(begin + (slow_lock_ ? slow_lock_time_us : lock_time_us), [this, attempt] {
        if (attempt == attempts_) set_locked(true);
    });
}

void AesEbu::set_locked(bool locked) {
    if (locked == locked_) return;
    locked_ = locked;
    lock_changed_ = true;
    surroundings_.wire(Wire::aes_lock, locked);
    surroundings_.event("aes", locked ? "lock" : "unlock",
                        {{"rate", std::int64_t{stream_rate_hz_}}});
}

} // namespace k4sim
