// The PCM devices of the virtual card as a plug-in of libasound. It only carries: samples
// are made and heard in the model, and its sample clock is the position.
//
// Offered is interleaved access by writei and readi, without mmap and pause. What libasound
// does itself for a plug-in differs from the kernel in two ways: a read of any size starts
// the capture, and a write without blocking gives -EAGAIN until avail_min frames are free.
#include "sim/alsa/address.h"
#include "sim/alsa/callback.h"
#include "sim/alsa/pcm_port.h"
#include "sim/time/scheduler.h"

#include <algorithm>
#include <alsa/asoundlib.h>
#include <alsa/pcm_external.h>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <poll.h>
#include <span>

namespace k4sim {

namespace {

using State = PcmStream::State;
using Direction = PcmStream::Direction;

struct FormatRow {
    snd_pcm_format_t name;
    SampleFormat format;
};
constexpr std::array<FormatRow, 4> formats{{
    {SND_PCM_FORMAT_S16_LE, SampleFormat::s16},
    {SND_PCM_FORMAT_S24_LE, SampleFormat::s24},
    {SND_PCM_FORMAT_S32_LE, SampleFormat::s32},
    {SND_PCM_FORMAT_FLOAT_LE, SampleFormat::float32},
}};

constexpr unsigned periods_min = 2;
constexpr unsigned periods_max = 1024;
constexpr unsigned bits_per_byte = 8;

struct PcmPlugin {
    PcmPlugin(int device, Direction direction) : port(static_cast<unsigned>(device), direction) {}

    snd_pcm_ioplug_t handle{};
    PcmPort port;
    snd_pcm_uframes_t boundary = 1; // where positions begin anew
};

PcmPlugin& plugin_of(snd_pcm_ioplug_t* handle) {
    return *static_cast<PcmPlugin*>(handle->private_data);
}

PcmStream* stream_of(snd_pcm_ioplug_t* handle) { return plugin_of(handle).port.stream(); }

bool plays(const snd_pcm_ioplug_t* handle) { return handle->stream == SND_PCM_STREAM_PLAYBACK; }

SampleFormat format_of(snd_pcm_format_t name) {
    for (const FormatRow& row : formats)
        if (row.name == name) return row.format;
    return SampleFormat::s16;
}

int set_hardware(snd_pcm_ioplug_t* handle, snd_pcm_hw_params_t*) {
    PcmStream* const stream = stream_of(handle);
    if (stream == nullptr) return -ENODEV;
    return stream->configure({format_of(handle->format), handle->rate, handle->channels,
                              static_cast<unsigned>(handle->buffer_size)})
               ? 0
               : -EINVAL;
}

int free_hardware(snd_pcm_ioplug_t* handle) {
    if (PcmStream* const stream = stream_of(handle)) stream->release();
    return 0;
}

int set_software(snd_pcm_ioplug_t* handle, snd_pcm_sw_params_t* parameters) {
    PcmPlugin& plugin = plugin_of(handle);
    snd_pcm_uframes_t wanted = 1;
    snd_pcm_sw_params_get_avail_min(parameters, &wanted);
    snd_pcm_sw_params_get_boundary(parameters, &plugin.boundary);
    plugin.port.set_wanted(static_cast<unsigned>(wanted));
    return 0;
}

int prepare(snd_pcm_ioplug_t* handle) {
    PcmStream* const stream = stream_of(handle);
    if (stream == nullptr) return -ENODEV;
    stream->prepare();
    return 0;
}

int start(snd_pcm_ioplug_t* handle) {
    PcmStream* const stream = stream_of(handle);
    if (stream == nullptr) return -ENODEV;
    if (plays(handle) && stream->application_position() == 0) return -EPIPE;
    return stream->start() ? 0 : -EBADFD;
}

int stop(snd_pcm_ioplug_t* handle) {
    if (PcmStream* const stream = stream_of(handle)) stream->stop();
    return 0;
}

// A stream that was drained stands, though libasound does not know it yet: an error tells.
snd_pcm_sframes_t position(snd_pcm_ioplug_t* handle) {
    PcmStream* const stream = stream_of(handle);
    if (stream == nullptr) return -ENODEV;
    const State state = stream->state();
    const bool drained = handle->state == SND_PCM_STATE_DRAINING && state != State::draining;
    if (state == State::xrun || drained) return -EPIPE;
    return static_cast<snd_pcm_sframes_t>(static_cast<std::uint64_t>(stream->position()) %
                                          plugin_of(handle).boundary);
}

snd_pcm_sframes_t transfer(snd_pcm_ioplug_t* handle, const snd_pcm_channel_area_t* areas,
                           snd_pcm_uframes_t offset, snd_pcm_uframes_t frames) {
    PcmStream* const stream = stream_of(handle);
    if (stream == nullptr) return -ENODEV;
    std::byte* const place = static_cast<std::byte*>(areas->addr) +
                             (areas->first + areas->step * offset) / bits_per_byte;
    const auto count = static_cast<unsigned>(frames);
    return static_cast<snd_pcm_sframes_t>(plays(handle) ? stream->write(place, count)
                                                        : stream->read(place, count));
}

// As in the kernel no cancellation point.
int drain(snd_pcm_ioplug_t* handle) {
    PcmStream* const stream = stream_of(handle);
    if (stream == nullptr) return -ENODEV;
    if (plays(handle) && stream->application_position() > 0 && stream->state() == State::prepared)
        (void)stream->start();
    stream->drain();
    if (stream->state() != State::draining) return 0;
    if (handle->nonblock) return -EAGAIN;
    for (const Microseconds end = stream->drained_at(); scheduler().now() < end;)
        scheduler().wait(nullptr, end);
    return 0;
}

int ready_events(snd_pcm_ioplug_t* handle, pollfd* states, unsigned, unsigned short* events) {
    *events = static_cast<unsigned short>(states->revents);
    PcmStream* const stream = stream_of(handle);
    if (stream != nullptr && stream->state() != State::xrun) return 0;
    snd_pcm_ioplug_set_state(handle, SND_PCM_STATE_XRUN);
    *events |= POLLERR;
    return 0;
}

int close_pcm(snd_pcm_ioplug_t* handle) {
    delete &plugin_of(handle);
    return 0;
}

constexpr snd_pcm_ioplug_callback_t pcm_callbacks = [] {
    snd_pcm_ioplug_callback_t table{};
    table.start = callback<start>;
    table.stop = callback<stop>;
    table.pointer = callback<position>;
    table.transfer = callback<transfer>;
    table.close = callback<close_pcm>;
    table.hw_params = callback<set_hardware>;
    table.hw_free = callback<free_hardware>;
    table.sw_params = callback<set_software>;
    table.prepare = callback<prepare>;
    table.drain = callback<drain>;
    table.poll_revents = callback<ready_events>;
    return table;
}();

// The buffer is limited in bytes, as memory is: such that the model takes it with the
// shortest and the longest samples.
int set_sizes(snd_pcm_ioplug_t* handle, const PcmLimits& limits) {
    const unsigned bytes_min =
        limits.buffer_frames_min * limits.channels * sample_bytes(SampleFormat::s32);
    const unsigned bytes_max =
        limits.buffer_frames_max * limits.channels * sample_bytes(SampleFormat::s16);
    const struct {
        int what;
        unsigned minimum, maximum;
    } ranges[] = {
        {SND_PCM_IOPLUG_HW_BUFFER_BYTES, bytes_min, bytes_max},
        {SND_PCM_IOPLUG_HW_PERIOD_BYTES, bytes_min / periods_min, bytes_max / periods_min},
        {SND_PCM_IOPLUG_HW_PERIODS, periods_min, periods_max},
    };
    for (const auto& [what, minimum, maximum] : ranges)
        if (const int error = snd_pcm_ioplug_set_param_minmax(handle, what, minimum, maximum);
            error < 0)
            return error;
    return 0;
}

int set_limits(snd_pcm_ioplug_t* handle, const PcmLimits& limits) {
    static constexpr unsigned access[] = {SND_PCM_ACCESS_RW_INTERLEAVED};
    const unsigned channels[] = {limits.channels};
    std::array<unsigned, formats.size()> names{};
    std::ranges::transform(formats, names.begin(),
                           [](const FormatRow& row) { return static_cast<unsigned>(row.name); });
    const struct {
        int what;
        std::span<const unsigned> values;
    } lists[] = {
        {SND_PCM_IOPLUG_HW_ACCESS, access},
        {SND_PCM_IOPLUG_HW_FORMAT, names},
        {SND_PCM_IOPLUG_HW_CHANNELS, channels},
        {SND_PCM_IOPLUG_HW_RATE, limits.rates_hz},
    };
    for (const auto& [what, values] : lists)
        if (const int error = snd_pcm_ioplug_set_param_list(
                handle, what, static_cast<unsigned>(values.size()), values.data());
            error < 0)
            return error;
    return set_sizes(handle, limits);
}

void describe(PcmPlugin& plugin, int mode) {
    snd_pcm_ioplug_t& handle = plugin.handle;
    handle.version = SND_PCM_IOPLUG_VERSION;
    handle.name = "K/4 sound card";
    handle.flags = SND_PCM_IOPLUG_FLAG_MONOTONIC | SND_PCM_IOPLUG_FLAG_BOUNDARY_WA;
    handle.poll_fd = plugin.port.descriptor();
    handle.poll_events = plugin.port.direction() == Direction::playback ? POLLOUT : POLLIN;
    handle.callback = &pcm_callbacks;
    handle.private_data = &plugin;
    handle.nonblock = mode & SND_PCM_NONBLOCK; // libasound tells only what changes
}

int open_stream(snd_pcm_t** result, const char* name, snd_config_t* node, snd_pcm_stream_t stream,
                int mode) {
    const Unobserved unobserved;
    if (const int error = find_card(node); error < 0) return error;
    const int device = find_device(node);
    if (device < 0) return device;
    auto plugin = std::make_unique<PcmPlugin>(
        device, stream == SND_PCM_STREAM_PLAYBACK ? Direction::playback : Direction::capture);
    if (const int error = plugin->port.open(); error < 0) return error;
    describe(*plugin, mode);
    if (const int error = snd_pcm_ioplug_create(&plugin->handle, name, stream, mode); error < 0)
        return error;
    PcmPlugin& created = *plugin.release(); // the handle's from now on: see close_pcm
    const int error = set_limits(&created.handle, created.port.stream()->limits());
    if (error < 0)
        snd_pcm_ioplug_delete(&created.handle);
    else
        *result = created.handle.pcm;
    return error;
}

} // namespace

} // namespace k4sim

extern "C" {

SND_PCM_PLUGIN_DEFINE_FUNC(k4sim);
SND_PCM_PLUGIN_DEFINE_FUNC(k4sim) {
    (void)root;
    return k4sim::open_stream(pcmp, name, conf, stream, mode);
}

SND_PCM_PLUGIN_SYMBOL(k4sim)
}
