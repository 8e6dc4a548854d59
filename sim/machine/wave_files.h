// Writes what the sound card plays and records into WAV files, one for each opening of a stream
// and each change of its rate or format.
#pragma once

#include "sim/models/sound/listener.h"
#include "sim/models/surroundings.h"

#include <array>
#include <functional>
#include <string>
#include <string_view>

namespace k4sim {

class WaveFiles final : public SoundListener {
public:
    using Clock = std::function<Microseconds()>;
    using OnCut = std::function<void(std::string_view why)>;

    // The files go into the folder from write_on() on: only the process that has the device
    // writes. `on_cut` is called when no more can be written; what was, stays.
    void open(int folder, Clock clock, OnCut on_cut);
    void write_on() { writes_ = true; }
    bool is_open() const { return folder_ >= 0; }

    void begin(StreamName stream, unsigned rate_hz, unsigned channels) override;
    void hear(StreamName stream, std::span<const std::int16_t> samples) override;
    void take_back(StreamName stream, std::int64_t frames) override;

    // In the child of a fork: the streams are the parent's.
    void leave();

private:
    // As it is on the disk; without a name it is not there yet.
    struct File {
        std::string name;
        unsigned rate_hz = 0;
        unsigned channels = 0;
        long bytes = 0; // of samples
    };

    File& file_of(StreamName stream) { return files_[stream.device * 2 + (stream.plays ? 1 : 0)]; }
    bool make(File& file, StreamName stream);
    bool write_head(int descriptor, const File& file);
    bool add(File& file, std::string_view bytes);
    void cut(std::string_view why);

    int folder_ = -1;
    bool writes_ = false;
    Clock clock_;
    OnCut on_cut_;
    std::array<File, 4> files_; // capture and playback of two devices
    int count_ = 0;
    long total_bytes_ = 0;
};

} // namespace k4sim
