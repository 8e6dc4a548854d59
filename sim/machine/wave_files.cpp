#include "sim/machine/wave_files.h"

#include "sim/machine/report.h"
#include "sim/models/sound/wave.h"
#include "sim/time/keep_errno.h"
#include "sim/time/system_call.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace k4sim {

namespace {

// Such that all sizes and places fit the calls of a 32-bit system.
constexpr long total_bytes_max = 2'000'000'000;
constexpr int files_max = 9999;
constexpr mode_t file_mode = 0666;

// A file is open only while it is written: the number of its descriptor is the program's.
class Opened {
public:
    Opened(int folder, const std::string& name, int flags)
        : number_(static_cast<int>(system_call()(SYS_openat, folder, name.c_str(),
                                                 O_WRONLY | O_CLOEXEC | O_NOFOLLOW | flags,
                                                 file_mode))) {}
    ~Opened() {
        const KeepErrno keep_errno;
        if (number_ >= 0) system_call()(SYS_close, number_);
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;

    int number() const { return number_; }
    bool seek(long place) const { return system_call()(SYS_lseek, number_, place, SEEK_SET) >= 0; }
    bool shorten(long size) const { return system_call()(SYS_ftruncate, number_, size) == 0; }

private:
    const int number_;
};

constexpr long size_of(long bytes) { return static_cast<long>(wave_head_bytes) + bytes; }

} // namespace

void WaveFiles::open(int folder, Clock clock, OnCut on_cut) {
    folder_ = folder;
    clock_ = std::move(clock);
    on_cut_ = std::move(on_cut);
}

void WaveFiles::begin(StreamName stream, unsigned rate_hz, unsigned channels) {
    file_of(stream) = {"", rate_hz, channels, 0};
}

void WaveFiles::hear(StreamName stream, std::span<const std::int16_t> samples) {
    const KeepErrno keep_errno;
    File& file = file_of(stream);
    const auto bytes = std::as_bytes(samples);
    if (!is_open() || !writes_ || bytes.empty()) return;
    if (bytes.size() > static_cast<std::size_t>(total_bytes_max - total_bytes_))
        return cut("it is longer than 2 GB");
    if (file.name.empty() && count_ == files_max) return cut("there are too many pieces");
    if ((file.name.empty() && !make(file, stream)) ||
        !add(file, {reinterpret_cast<const char*>(bytes.data()), bytes.size()}))
        cut(strerrordesc_np(errno));
}

// What is on the disk is what the head says.
void WaveFiles::take_back(StreamName stream, std::int64_t frames) {
    const KeepErrno keep_errno;
    File& file = file_of(stream);
    if (!is_open() || !writes_ || file.name.empty()) return;
    const auto bytes = static_cast<long>(frames) * static_cast<long>(file.channels * 2);
    file.bytes -= bytes;
    total_bytes_ -= bytes;
    const Opened opened(folder_, file.name, 0);
    if (!write_head(opened.number(), file) || !opened.shorten(size_of(file.bytes)))
        cut(strerrordesc_np(errno));
}

void WaveFiles::leave() {
    writes_ = false;
    files_ = {};
}

// Another process of the run may have made some before.
bool WaveFiles::make(File& file, StreamName stream) {
    const double seconds = static_cast<double>(clock_()) / us_per_second;
    while (count_ < files_max) {
        std::array<char, 80> name{};
        std::snprintf(name.data(), name.size(), "%04d-device%u-%s-%.3fs.wav", ++count_,
                      stream.device, stream.plays ? "playback" : "capture", seconds);
        const Opened opened(folder_, name.data(), O_CREAT | O_EXCL);
        if (opened.number() < 0 && errno == EEXIST) continue;
        if (opened.number() < 0) return false;
        if (!write_head(opened.number(), file)) {
            const KeepErrno keep_errno;
            system_call()(SYS_unlinkat, folder_, name.data(), 0);
            return false;
        }
        file.name = name.data();
        return true;
    }
    return false;
}

bool WaveFiles::write_head(int descriptor, const File& file) {
    const auto head =
        wave_head(file.rate_hz, file.channels, static_cast<std::uint32_t>(file.bytes));
    return write_fully(descriptor, {head.data(), head.size()});
}

// The head comes last, so that it is right also of a program that is killed meanwhile.
bool WaveFiles::add(File& file, std::string_view bytes) {
    const Opened opened(folder_, file.name, 0);
    if (!opened.seek(size_of(file.bytes))) return false;
    if (!write_fully(opened.number(), bytes)) {
        const KeepErrno keep_errno;
        opened.shorten(size_of(file.bytes));
        return false;
    }
    file.bytes += static_cast<long>(bytes.size());
    total_bytes_ += static_cast<long>(bytes.size());
    return opened.seek(0) && write_head(opened.number(), file);
}

void WaveFiles::cut(std::string_view why) {
    folder_ = -1;
    on_cut_(why);
}

} // namespace k4sim
