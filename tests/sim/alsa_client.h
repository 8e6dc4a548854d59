// How the tests of the sound card reach it: through libasound, by handles that close themselves
// and control elements by name.
#pragma once

#include "support/boards.h"

#include "sim/models/device.h"

#include <alsa/asoundlib.h>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

class AlsaTest : public BoardTest {
protected:
    // At a whole millisecond a frame of each rate begins that is a multiple of 1000 Hz: so a
    // test sees the same numbers whatever ran before it.
    AlsaTest() { usleep(static_cast<useconds_t>(1000 - k4sim::machine().now() % 1000)); }

    static k4sim::Device& device() { return k4sim::machine().device(); }
};

// A handle with the result of opening it.
template <typename Handle, auto open, auto close>
struct Opened {
    template <typename... Arguments>
    explicit Opened(Arguments... arguments) : result(open(&handle, arguments...)) {}
    ~Opened() {
        if (result == 0) close(handle);
    }
    Opened(const Opened&) = delete;
    operator Handle*() const { return handle; }

    Handle* handle = nullptr;
    const int result;
};

struct Pcm : Opened<snd_pcm_t, snd_pcm_open, snd_pcm_close> {
    explicit Pcm(const char* name, snd_pcm_stream_t stream = SND_PCM_STREAM_PLAYBACK,
                 int mode = SND_PCM_NONBLOCK)
        : Opened(name, stream, mode) {}

    int set(snd_pcm_format_t format, unsigned channels, unsigned rate_hz = 48000,
            unsigned latency_ms = 100) const {
        return snd_pcm_set_params(handle, format, SND_PCM_ACCESS_RW_INTERLEAVED, channels, rate_hz,
                                  0, latency_ms * 1000);
    }
};

using Control = Opened<snd_ctl_t, snd_ctl_open, snd_ctl_close>;

// Of the mixer, or of the digital line where the name begins with IEC958.
class Element {
public:
    explicit Element(const std::string& name)
        : bytes_(name.ends_with("Default") || name.ends_with("Channel")) {
        const bool digital = name.starts_with("IEC958");
        snd_ctl_elem_value_set_interface(values_, digital ? SND_CTL_ELEM_IFACE_PCM
                                                          : SND_CTL_ELEM_IFACE_MIXER);
        snd_ctl_elem_value_set_device(values_, digital ? 1 : 0);
        snd_ctl_elem_value_set_name(values_, name.c_str());
    }

    // Both return what libasound says.
    int write(const std::vector<int>& values) {
        for (unsigned i = 0; i < values.size(); ++i)
            bytes_ ? snd_ctl_elem_value_set_byte(values_, i, static_cast<unsigned char>(values[i]))
                   : snd_ctl_elem_value_set_integer(values_, i, values[i]);
        return snd_ctl_elem_write(control_, values_);
    }
    int read() { return snd_ctl_elem_read(control_, values_); }

    int value(unsigned i = 0) {
        EXPECT_EQ(read(), 0);
        return bytes_ ? snd_ctl_elem_value_get_byte(values_, i)
                      : static_cast<int>(snd_ctl_elem_value_get_integer(values_, i));
    }

    // Of that value, in hundredths; none where the element has no such scale. `number`: its place
    // in the list of the card's elements, from 1, by which libasound asks for a scale.
    std::optional<long> decibels(unsigned number, int value, int highest) {
        unsigned scale[16] = {};
        long hundredths = 0;
        snd_ctl_elem_id_t* id = nullptr;
        snd_ctl_elem_id_alloca(&id);
        snd_ctl_elem_value_get_id(values_, id);
        snd_ctl_elem_id_set_numid(id, number);
        if (snd_ctl_elem_tlv_read(control_, id, scale, sizeof scale) < 0 ||
            snd_tlv_convert_to_dB(scale, 0, highest, value, &hundredths) < 0)
            return std::nullopt;
        return hundredths;
    }

private:
    const bool bytes_;
    const Control control_{"hw:0", 0};
    const Opened<snd_ctl_elem_value_t, snd_ctl_elem_value_malloc, snd_ctl_elem_value_free> values_;
};
