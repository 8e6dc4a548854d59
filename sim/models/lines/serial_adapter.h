// A USB serial adapter: a transmitter that sends 8N1 frames at the set speed, and a
// receiver that samples what comes.
//
// NOTE: the speed is one for both directions. Parity, other frame lengths, the modem lines
// and the latency of USB are not modelled. A frame at the wrong speed is sampled once, as if
// the line were idle behind it, and a wrong stop bit is not noticed.
#pragma once

#include "sim/models/joints/byte_joint.h"
#include "sim/models/surroundings.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <memory>
#include <span>
#include <utility>

namespace k4sim {

// The processor's end of an adapter, which its driver puts there.
class SerialEnd {
public:
    virtual ~SerialEnd() = default;

    virtual void arrive(std::uint8_t byte) = 0;
    // The adapter is gone, and may not be called any more.
    virtual void hang_up() = 0;
};

// What a receiver at `receiver_baud` makes of a frame that was sent at `sender_baud`: each
// bit is what the line carries in the middle of the time that the receiver has for it.
std::uint8_t sampled_byte(std::uint8_t sent, unsigned sender_baud, unsigned receiver_baud);

class SerialAdapter {
public:
    static constexpr std::size_t buffer_size = 4096; // of the transmitter

    // `number` (1 or 2) is for the record.
    SerialAdapter(int number, Surroundings& surroundings);
    ~SerialAdapter() { hang_up(); }
    SerialAdapter(const SerialAdapter&) = delete;
    SerialAdapter& operator=(const SerialAdapter&) = delete;

    // The world's side. An adapter is plugged in at first. Events "plugged", "unplugged".
    void plug();
    // What was not sent is lost, and its end hangs up.
    void unplug();
    bool plugged() const { return plugged_; }
    // Runs at so many percent of the speed that is set.
    void set_pace(unsigned percent);
    void set_output_refused(bool refused) { output_refused_ = refused; }
    void set_settings_refused(bool refused) { settings_refused_ = refused; }
    // Called with each byte when its frame has left the adapter.
    void set_on_sent(std::function<void(std::uint8_t)> carry) { carry_ = std::move(carry); }
    // A frame from the line. Event "speed-mismatch" at the first of those that are sent
    // and received at other speeds.
    void receive(std::uint8_t byte, unsigned sender_baud);
    // The speed on the line.
    unsigned line_baud() const { return baud_ * pace_percent_ / 100; }

    // Its line in both directions, and its clock.
    void name_sites(FaultSites& sites);

    // The driver's side.
    void attach(std::shared_ptr<SerialEnd> end) { end_ = std::move(end); }
    const std::shared_ptr<SerialEnd>& end() const { return end_; }
    // At 0, as at first, nothing is sent or received.
    void set_baud(unsigned baud);
    // The driver asks before a write or a change of settings; a refusal leaves an event,
    // "output-refused" or "settings-refused".
    bool refuses_output() const;
    bool refuses_settings() const;
    void send(std::span<const std::uint8_t> bytes);
    std::size_t unsent() const { return unsent_.size(); }
    void drop_unsent();
    // When the frame on its way has left, and when all have; never when nothing moves.
    Microseconds next_sent_at() const { return sent_at(1); }
    Microseconds all_sent_at() const { return sent_at(unsent_.size()); }

private:
    void hang_up();
    void take(std::uint8_t byte, unsigned sender_baud);
    Microseconds sent_at(std::size_t frames) const;
    Wire tx() const { return number_ == 1 ? Wire::tx1 : Wire::tx2; }
    Nanoseconds frame_begin() const { return sent_at(0) * ns_per_us; } // of the one on its way
    void begin();
    void cut_frame();
    void tell_frame(Wire wire, std::uint8_t byte, unsigned baud, Nanoseconds begin);
    void plan();
    void frame_sent();
    void event(std::string_view what) const;

    int number_;
    Surroundings& surroundings_;
    bool plugged_ = true;
    unsigned pace_percent_ = 100;
    bool output_refused_ = false;
    bool settings_refused_ = false;
    unsigned baud_ = 0;
    std::pair<unsigned, unsigned> mismatch_; // that was reported last
    std::function<void(std::uint8_t)> carry_;
    std::shared_ptr<SerialEnd> end_;
    std::deque<std::uint8_t> unsent_; // the first one is on its way
    // Frames follow one another without a gap, so that times do not add up their rounding.
    Microseconds begun_ = 0;
    std::size_t sent_ = 0;
    ByteJoint tx_joint_, rx_joint_;
    std::uint64_t generation_ = 0; // a frame that was planned before the last begin() is void
};

} // namespace k4sim
