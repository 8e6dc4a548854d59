// Transmitter and receiver of the digital audio line (AES/EBU, IEC 958), and the loopback
// cable between them. They are reached through eight registers, the IEC958 control
// elements.
//
// The line runs when the transmitter is on and the playback stream has parameters. The
// receiver locks 20 ms after the line runs into it steadily: the cable is in, and the rate
// code is that of the stream. A change of rate, code, cable or power takes the lock away at
// once.
//
//   receiver status   bit 0 = locked; bits 1 to 3 the measured rate: 0x0E none, 0x0C 32000,
//                     0x0A 44100, 0x08 48000, 0x06 88200, 0x04 96000
//   SPdif             rate code 0x14 32000, 0x80 44100, 0x00 48000, 0x90 88200, 0x10 96000;
//                     bit 0 = consumer format
//   channel status    professional: the bytes of "TXC Channel", as written. Consumer: byte 0
//                     is 0 and the low four bits of byte 3 tell the rate (2 48000, 0 44100,
//                     3 32000, 8 88200, 10 96000). Without lock the receiver keeps zeros.
//   lock change       1 after a lock was won or lost; writing 1 clears it
#pragma once

#include "sim/models/joints/bit_joint.h"
#include "sim/models/sound/pcm.h"
#include "sim/models/surroundings.h"

#include <array>
#include <cstdint>
#include <optional>

namespace k4sim {

using ChannelStatus = std::array<std::uint8_t, 24>;

struct AesEbuFaults {
    unsigned dead_rate_hz = 0;                // no lock at this rate; 0: none
    std::optional<unsigned> status_rate_hz;   // the received status tells this rate
    std::optional<unsigned> measured_rate_hz; // the receiver measures this; 0: none
    bool transmitter_refuses = false;         // its registers can't be written
};

class AesEbu final : public Line {
public:
    static constexpr Microseconds lock_time_us = 20'000;
    static constexpr Microseconds slow_lock_time_us = 400'000; // with a fault

    explicit AesEbu(Surroundings& surroundings) : surroundings_(surroundings) {}

    // The digital audio itself: what is sent arrives while the receiver is locked and its
    // processing is on, else silence.
    void carry(std::int64_t first, unsigned rate_hz, std::span<const Frame> sent,
               std::span<Frame> arriving) override;

    // The registers.
    bool transmitter_on() const { return transmitter_on_; }
    void set_transmitter(bool on);
    std::uint8_t spdif() const { return spdif_; }
    void set_spdif(std::uint8_t value);
    const ChannelStatus& default_status() const { return default_status_; }
    // Also becomes the status that is sent, until the next set_channel_status().
    void set_default_status(const ChannelStatus& status);
    const ChannelStatus& channel_status() const { return channel_status_; }
    void set_channel_status(const ChannelStatus& status);
    std::uint8_t receiver_status();
    ChannelStatus received_status();
    bool lock_changed() const { return lock_changed_; }
    void clear_lock_changed() { lock_changed_ = false; }
    bool processing() const { return processing_; }
    void set_processing(bool on) { processing_ = on; }

    // Its registers, the rates it locks at, and the audio.
    void name_sites(FaultSites& sites);

    // The playback stream's parameters; 0: it has none.
    void set_stream_rate(unsigned rate_hz);
    void set_cable(bool plugged);
    bool cable() const { return cable_; }
    const AesEbuFaults& faults() const { return faults_; }
    void set(const AesEbuFaults& faults);
    // Takes the lock away now; it comes back after lock_time_us plus `for_us`.
    void lose_lock(Microseconds for_us);

    bool locked() const { return locked_; }

private:
    bool line_fits();
    void check(); // after every change
    void set_locked(bool locked);

    Surroundings& surroundings_;
    bool transmitter_on_ = false;
    bool processing_ = false;
    bool cable_ = false;
    bool locked_ = false;
    bool lock_changed_ = false;
    std::uint8_t spdif_ = 0;
    ChannelStatus default_status_{};
    ChannelStatus channel_status_{};
    unsigned stream_rate_hz_ = 0;
    std::uint64_t attempts_ = 0; // a lock that was begun counts only while it is the last
    Microseconds disturbed_until_ = 0;
    AesEbuFaults faults_;
    BitJoint receiver_bits_;    // of the receiver status
    BitJoint format_bits_;      // of byte 0 of the received channel status
    BitJoint consumer_bits_;    // of its byte 3
    BitJoint transmitter_bits_; // of SPdif
    bool slow_lock_ = false;
    std::array<bool, 2> silent_{}; // by channel
};

} // namespace k4sim
