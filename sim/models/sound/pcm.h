// One PCM device of the sound card: a playback and a capture stream on one sample clock,
// and the line between converter out and converter in.
//
// The sample clock runs in virtual time from the moment the device is switched on: its
// frame number is now * rate / 1 s, rounded down. A stream that is started takes the
// number of that moment as its base; its position is the clock's number less the base, so
// two streams of one rate never drift apart. Nothing happens at a sample: all that is due
// is done in blocks when somebody looks, with the settings that held meanwhile (whoever
// changes one calls PcmDevice::run() before).
#pragma once

#include "sim/models/sound/level_meter.h"
#include "sim/models/sound/listener.h"
#include "sim/models/sound/sample_clock.h"
#include "sim/models/surroundings.h"

#include <cstdint>
#include <functional>
#include <span>
#include <utility>
#include <vector>

namespace k4sim {

// Two channels between converters, as numbers: a 16-bit sample times 512. More than full
// scale is fine there; converters clip.
struct Frame {
    std::int32_t left = 0;
    std::int32_t right = 0;
};
inline constexpr std::int32_t full_scale = 1 << 24;

// What carries the signal from the playback to the capture converter.
class Line {
public:
    virtual ~Line() = default;
    // What arrives while `sent` is sent; the spans have the same length. `first` is the
    // sample clock's number of the first frame. Called block by block, only while the
    // capture stream runs; frames without playback are sent as zero.
    virtual void carry(std::int64_t first, unsigned rate_hz, std::span<const Frame> sent,
                       std::span<Frame> arriving) = 0;
};

// What a stream can be configured to. An empty rate list: the stream does not exist.
struct PcmLimits {
    unsigned channels = 0; // exactly these
    std::span<const unsigned> rates_hz;
    unsigned buffer_frames_min = 64;
    unsigned buffer_frames_max = 65536;
};

// All formats of SampleFormat are supported.
struct PcmConfiguration {
    SampleFormat format = SampleFormat::s16;
    unsigned rate_hz = 0;
    unsigned channels = 0;
    unsigned buffer_frames = 0;
};

class PcmDevice;

class PcmStream {
public:
    enum class Direction { playback, capture };
    enum class State {
        closed,
        open,     // no parameters yet
        prepared, // parameters set, not started; playback can be written
        running,
        draining, // playback: no more is written, ends by itself
        xrun      // playback: the clock passed what was written; capture: it passed the buffer
    };
    enum class OpenResult { opened, busy, absent };

    PcmStream(PcmDevice& device, Direction direction, PcmLimits limits)
        : device_(device), direction_(direction), limits_(limits) {}
    PcmStream(const PcmStream&) = delete;
    PcmStream& operator=(const PcmStream&) = delete;

    Direction direction() const { return direction_; }
    const PcmLimits& limits() const { return limits_; }

    // busy: open already, or held by another program (a fault); absent: no such stream, or
    // the card does not answer.
    [[nodiscard]] OpenResult open();
    void close();

    // Sets the parameters (instead of earlier ones, also of a running stream) and prepares.
    // False, and nothing is changed: closed, outside limits(), another rate than the other
    // direction's parameters (there is one clock), or refused (a fault).
    [[nodiscard]] bool configure(const PcmConfiguration& configuration);
    const PcmConfiguration& configuration() const { return configuration_; }
    // Forgets the parameters.
    void release();

    // Back to position 0 with an empty buffer; leaves xrun. Nothing without parameters.
    void prepare();
    // False unless prepared.
    [[nodiscard]] bool start();
    // Stops at once and drops what was not played or read; prepared afterwards.
    void stop();
    // Playback: plays what was written, then is prepared (at drained_at()); not running or
    // draining: the same as stop(). Capture: stops, as stop().
    void drain();

    // As of now. The first look at an underrun or overrun makes the event.
    State state();
    // Frames that the converter has moved since prepare(). After an xrun: up to it.
    std::int64_t position();
    // Frames that were written or read since prepare().
    std::int64_t application_position() const { return application_; }
    // Frames that can be written or read now; 0 in the state xrun.
    unsigned available();

    // Takes or gives up to available() frames of configuration().channels samples; the
    // number moved. Playback: also before start(), up to a full buffer. Only two channels
    // of a playback reach the line.
    unsigned write(const void* interleaved, unsigned frames);
    unsigned read(void* interleaved, unsigned frames);

    // When position() becomes `position`, in virtual time, were the stream to run on.
    // Only for a started stream.
    Microseconds due(std::int64_t position) const;
    // When all that was written will be played.
    Microseconds drained_at() const { return due(application_); }

    // Levels of what the program writes, or reads, since they were last taken; none by default.
    void set_metered(bool metered) { metered_ = metered; }
    LevelMeter& meter() { return meter_; }

    // Breaks the running stream off as if the program had been late.
    void interrupt();

    void set_present(bool present) { present_ = present; }
    void set_busy(bool busy) { busy_ = busy; }
    void set_parameters_refused(bool refused) { parameters_refused_ = refused; }
    // Called with the new rate when parameters are set, with 0 when they are forgotten.
    void set_on_rate(std::function<void(unsigned rate_hz)> observer) {
        on_rate_ = std::move(observer);
    }

private:
    friend class PcmDevice;

    bool fits(const PcmConfiguration& wanted) const;
    bool started() const { return state_ == State::running || state_ == State::draining; }
    std::int64_t limit() const; // position at which the clock passes the buffer
    void prepare_now();
    void break_off();
    StreamName name() const;
    void let_hear(const void* interleaved, unsigned frames);
    void drop_unplayed();
    template <class Use>
    void for_runs(std::int64_t position, std::size_t count, Use use);
    void fetch(std::int64_t first, std::span<Frame> frames); // by the clock's number
    void append(std::span<const Frame> frames);

    PcmDevice& device_;
    const Direction direction_;
    const PcmLimits limits_;
    State state_ = State::closed;
    PcmConfiguration configuration_;
    std::vector<Frame> buffer_;
    std::int64_t base_ = 0;        // the clock's number at the start
    std::int64_t moved_ = 0;       // position as of the last run()
    std::int64_t application_ = 0; // frames written or read
    bool heard_ = false;           // the listener knows rate and format
    bool present_ = true;
    bool busy_ = false;
    bool parameters_refused_ = false;
    bool metered_ = false;
    LevelMeter meter_;
    std::function<void(unsigned)> on_rate_;
};

class PcmDevice {
public:
    // `line` and `surroundings` must outlive the device.
    PcmDevice(unsigned number, PcmLimits playback, PcmLimits capture, Line& line,
              Surroundings& surroundings);

    unsigned number() const { return number_; }
    PcmStream& playback() { return playback_; }
    PcmStream& capture() { return capture_; }
    PcmStream& stream(PcmStream::Direction direction) {
        return direction == PcmStream::Direction::playback ? playback_ : capture_;
    }

    // Does what the sample clock has made due.
    void run();

    // The clock is that much too fast from now on.
    void set_clock_error(std::int64_t ppm);

private:
    friend class PcmStream;

    std::int64_t clock(unsigned rate_hz) const;
    void run_capture();
    void run_playback();
    void event(const PcmStream& stream, std::string_view what) const;

    const unsigned number_;
    Line& line_;
    Surroundings& surroundings_;
    SampleClock sample_clock_;
    PcmStream playback_;
    PcmStream capture_;
};

} // namespace k4sim
