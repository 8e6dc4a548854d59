// What the tests of the sound card's plug-ins share: handles of libasound that close
// themselves, and what libasound has complained about.
#pragma once

#include "sim/machine/machine.h"
#include "sim/models/device.h"

#include <alsa/asoundlib.h>
#include <cstdarg>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

class AlsaTest : public testing::Test {
protected:
    AlsaTest() {
        k4sim::machine().reset();
        k4sim::machine().clear_events();
        begin_frame();
        complaints_.clear();
        snd_lib_error_set_handler(note);
    }
    ~AlsaTest() override {
        snd_lib_error_set_handler(nullptr);
        k4sim::machine().reset();
    }

    static void use_board(k4sim::Board board) {
        k4sim::Setup setup;
        setup.board = board;
        k4sim::machine().reset(setup);
    }
    static k4sim::SoundCard& card() { return k4sim::machine().device().sound_card(); }
    static const std::string& complaints() { return complaints_; }

private:
    // At a whole millisecond a frame of each rate begins that is a multiple of 1000 Hz: so a
    // test sees the same numbers whatever ran before it.
    static void begin_frame() {
        usleep(static_cast<useconds_t>(1000 - k4sim::machine().now() % 1000));
    }

    static void note(const char*, int, const char*, int, const char* format, ...) {
        char text[256];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(text, sizeof text, format, arguments);
        va_end(arguments);
        complaints_.append(text).append("\n");
    }
    static inline std::string complaints_;
};

// A handle with the result of opening it.
template <typename Handle, int (*close)(Handle*)>
class Opened {
public:
    template <typename Open>
    explicit Opened(Open open) : result(open(&handle_)) {}
    ~Opened() {
        if (result == 0) close(handle_);
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    operator Handle*() const { return handle_; }

private:
    Handle* handle_ = nullptr;

public:
    const int result;
};

struct Pcm : Opened<snd_pcm_t, snd_pcm_close> {
    explicit Pcm(const char* name, snd_pcm_stream_t stream = SND_PCM_STREAM_PLAYBACK,
                 int mode = SND_PCM_NONBLOCK)
        : Opened([=](snd_pcm_t** handle) { return snd_pcm_open(handle, name, stream, mode); }) {}
};

struct Control : Opened<snd_ctl_t, snd_ctl_close> {
    explicit Control(const char* name)
        : Opened([=](snd_ctl_t** handle) { return snd_ctl_open(handle, name, 0); }) {}
};
