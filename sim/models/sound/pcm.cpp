#include "sim/models/sound/pcm.h"

#include "sim/models/sound/samples.h"

#include <algorithm>
#include <array>

namespace k4sim {

namespace {

constexpr unsigned block_frames = 256;

} // namespace

PcmStream::OpenResult PcmStream::open() {
    if (!present_ || limits_.rates_hz.empty()) return OpenResult::absent;
    if (busy_ || state_ != State::closed) return OpenResult::busy;
    state_ = State::open;
    heard_ = false;
    return OpenResult::opened;
}

void PcmStream::close() {
    release();
    state_ = State::closed;
}

bool PcmStream::configure(const PcmConfiguration& configuration) {
    if (state_ == State::closed || parameters_refused_ || !fits(configuration)) return false;
    device_.run();
    const PcmConfiguration former = std::exchange(configuration_, configuration);
    buffer_.assign(configuration.buffer_frames, {});
    prepare_now();
    if (former.rate_hz != configuration.rate_hz || former.format != configuration.format)
        heard_ = false;
    if (on_rate_) on_rate_(configuration.rate_hz);
    return true;
}

void PcmStream::release() {
    if (configuration_.rate_hz == 0) return;
    device_.run();
    drop_unplayed();
    configuration_ = {};
    state_ = State::open;
    if (on_rate_) on_rate_(0);
}

void PcmStream::prepare() {
    if (configuration_.rate_hz == 0) return;
    device_.run();
    prepare_now();
}

bool PcmStream::start() {
    if (state_ != State::prepared) return false;
    base_ = device_.clock(configuration_.rate_hz);
    state_ = State::running;
    device_.event(*this, "start");
    return true;
}

void PcmStream::stop() { prepare(); }

void PcmStream::drain() {
    if (direction_ == Direction::playback && state() == State::running)
        state_ = State::draining;
    else if (state_ != State::draining)
        stop();
}

PcmStream::State PcmStream::state() {
    device_.run();
    return state_;
}

std::int64_t PcmStream::position() {
    device_.run();
    return moved_;
}

unsigned PcmStream::available() {
    device_.run();
    if (state_ != State::prepared && state_ != State::running) return 0;
    const std::int64_t free = direction_ == Direction::playback
                                  ? configuration_.buffer_frames - (application_ - moved_)
                                  : moved_ - application_;
    return static_cast<unsigned>(free);
}

unsigned PcmStream::write(const void* interleaved, unsigned frames) {
    const unsigned count = std::min(frames, available());
    const std::size_t frame_bytes =
        std::size_t{configuration_.channels} * sample_bytes(configuration_.format);
    if (metered_) meter_.add(interleaved, configuration_.format, configuration_.channels, count);
    const auto* place = static_cast<const std::byte*>(interleaved);
    for_runs(application_, count, [&](std::span<Frame> run) {
        decode_samples(place, configuration_.format, configuration_.channels, run);
        place += run.size() * frame_bytes;
    });
    let_hear(interleaved, count);
    application_ += count;
    return count;
}

unsigned PcmStream::read(void* interleaved, unsigned frames) {
    const unsigned count = std::min(frames, available());
    const std::size_t frame_bytes =
        std::size_t{configuration_.channels} * sample_bytes(configuration_.format);
    auto* place = static_cast<std::byte*>(interleaved);
    for_runs(application_, count, [&](std::span<Frame> run) {
        encode_samples(run, configuration_.format, place);
        place += run.size() * frame_bytes;
    });
    let_hear(interleaved, count);
    if (metered_) meter_.add(interleaved, configuration_.format, configuration_.channels, count);
    application_ += count;
    return count;
}

Microseconds PcmStream::due(std::int64_t position) const {
    return device_.sample_clock_.begin(base_ + position, configuration_.rate_hz);
}

void PcmStream::interrupt() {
    device_.run();
    if (!started()) return;
    drop_unplayed();
    break_off();
}

bool PcmStream::fits(const PcmConfiguration& wanted) const {
    const PcmStream& other =
        direction_ == Direction::playback ? device_.capture_ : device_.playback_;
    const unsigned other_rate = other.configuration_.rate_hz;
    return wanted.channels == limits_.channels &&
           std::ranges::find(limits_.rates_hz, wanted.rate_hz) != limits_.rates_hz.end() &&
           (other_rate == 0 || other_rate == wanted.rate_hz) &&
           wanted.buffer_frames >= limits_.buffer_frames_min &&
           wanted.buffer_frames <= limits_.buffer_frames_max;
}

std::int64_t PcmStream::limit() const {
    return direction_ == Direction::playback ? application_
                                             : application_ + configuration_.buffer_frames;
}

void PcmStream::prepare_now() {
    drop_unplayed();
    state_ = State::prepared;
    moved_ = 0;
    application_ = 0;
}

void PcmStream::break_off() {
    state_ = State::xrun;
    device_.event(*this, direction_ == Direction::playback ? "underrun" : "overrun");
}

StreamName PcmStream::name() const { return {device_.number(), direction_ == Direction::playback}; }

void PcmStream::let_hear(const void* interleaved, unsigned frames) {
    SoundListener* const listener = device_.surroundings_.sound_listener();
    if (listener == nullptr || frames == 0) return;
    const auto [format, rate_hz, channels, buffer_frames] = configuration_;
    if (!std::exchange(heard_, true)) listener->begin(name(), rate_hz, channels);
    std::vector<std::int16_t> samples(std::size_t{frames} * channels);
    shorten_samples(interleaved, format, samples);
    listener->hear(name(), samples);
}

// What the clock has not come to until now never sounds.
void PcmStream::drop_unplayed() {
    if (direction_ != Direction::playback || application_ == moved_) return;
    if (SoundListener* const listener = device_.surroundings_.sound_listener())
        listener->take_back(name(), application_ - moved_);
    application_ = moved_;
}

// Calls `use` for `count` frames of the buffer from this position on, in runs to the buffer's end.
template <class Use>
void PcmStream::for_runs(std::int64_t position, std::size_t count, Use use) {
    std::size_t slot = static_cast<std::size_t>(position) % buffer_.size();
    while (count > 0) {
        const std::size_t length = std::min(count, buffer_.size() - slot);
        use(std::span(buffer_).subspan(slot, length));
        slot = 0;
        count -= length;
    }
}

void PcmStream::fetch(std::int64_t first, std::span<Frame> frames) {
    std::ranges::fill(frames, Frame{});
    if (!started() && state_ != State::xrun) return;
    const auto count = static_cast<std::int64_t>(frames.size());
    const std::int64_t end = std::min(first - base_ + count, application_);
    const std::int64_t begin = std::max<std::int64_t>(first - base_, 0);
    if (begin >= end) return;
    auto place = frames.begin() + (begin - (first - base_));
    for_runs(begin, static_cast<std::size_t>(end - begin),
             [&](std::span<Frame> run) { place = std::ranges::copy(run, place).out; });
}

void PcmStream::append(std::span<const Frame> frames) {
    auto place = frames.begin();
    for_runs(moved_, frames.size(), [&](std::span<Frame> run) {
        place = std::ranges::copy_n(place, std::ssize(run), run.begin()).in;
    });
    moved_ += std::ssize(frames);
}

PcmDevice::PcmDevice(unsigned number, PcmLimits playback, PcmLimits capture, Line& line,
                     Surroundings& surroundings)
    : number_(number), line_(line), surroundings_(surroundings),
      playback_(*this, PcmStream::Direction::playback, playback),
      capture_(*this, PcmStream::Direction::capture, capture) {}

// The capture goes first: it hears what the playback sent until now.
void PcmDevice::run() {
    run_capture();
    run_playback();
}

void PcmDevice::set_clock_error(std::int64_t ppm) {
    run();
    sample_clock_.set_error(surroundings_.now(), ppm);
}

std::int64_t PcmDevice::clock(unsigned rate_hz) const {
    return sample_clock_.frame(surroundings_.now(), rate_hz);
}

void PcmDevice::run_capture() {
    if (!capture_.started()) return;
    const unsigned rate = capture_.configuration_.rate_hz;
    const std::int64_t now = clock(rate) - capture_.base_;
    const std::int64_t end = std::min(now, capture_.limit());
    std::array<Frame, block_frames> sent;
    std::array<Frame, block_frames> arriving;
    while (capture_.moved_ < end) {
        const auto length =
            static_cast<std::size_t>(std::min<std::int64_t>(block_frames, end - capture_.moved_));
        const std::int64_t first = capture_.base_ + capture_.moved_;
        playback_.fetch(first, std::span(sent).first(length));
        line_.carry(first, rate, std::span(sent).first(length), std::span(arriving).first(length));
        capture_.append(std::span(arriving).first(length));
    }
    if (now > end) capture_.break_off();
}

void PcmDevice::run_playback() {
    if (!playback_.started()) return;
    const std::int64_t now = clock(playback_.configuration_.rate_hz) - playback_.base_;
    playback_.moved_ = std::min(now, playback_.limit());
    if (playback_.state_ == PcmStream::State::draining && now >= playback_.limit())
        playback_.prepare_now();
    else if (now > playback_.limit())
        playback_.break_off();
}

void PcmDevice::event(const PcmStream& stream, std::string_view what) const {
    const bool plays = stream.direction_ == PcmStream::Direction::playback;
    surroundings_.event("sound", what,
                        {{"device", std::int64_t{number_}},
                         {"stream", plays ? std::string_view("playback") : "capture"},
                         {"position", stream.moved_}});
}

} // namespace k4sim
