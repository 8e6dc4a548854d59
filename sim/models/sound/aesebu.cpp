#include "sim/models/sound/aesebu.h"

#include <algorithm>

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

} // namespace

void AesEbu::carry(std::int64_t, unsigned, std::span<const Frame> sent, std::span<Frame> arriving) {
    if (locked_ && processing_)
        std::ranges::copy(sent, arriving.begin());
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

std::uint8_t AesEbu::receiver_status() const {
    if (!locked_) return no_rate.receiver;
    const unsigned rate_hz = faults_.measured_rate_hz.value_or(stream_rate_hz_);
    return locked_flag | code_of(rate_hz).receiver;
}

ChannelStatus AesEbu::received_status() const {
    ChannelStatus status{};
    if (!locked_) return status;
    if (spdif_ & consumer_flag)
        tell_rate(status, stream_rate_hz_);
    else
        status = channel_status_;
    if (faults_.status_rate_hz) tell_rate(status, *faults_.status_rate_hz);
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

bool AesEbu::line_fits() const {
    return cable_ && transmitter_on_ && stream_rate_hz_ != 0 &&
           transmitted_rate(spdif_) == stream_rate_hz_ && stream_rate_hz_ != faults_.dead_rate_hz;
}

void AesEbu::check() {
    const std::uint64_t attempt = ++attempts_;
    if (!line_fits()) return set_locked(false);
    if (locked_) return;
    const Microseconds begin = std::max(surroundings_.now(), disturbed_until_);
    surroundings_.at(begin + lock_time_us, [this, attempt] {
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
