// Somebody at a panel outside the process, who sees the device in real time and operates it by
// messages. What is done is put at an exact virtual time, as the step of a scenario would be, so
// that a run with these steps is the same run.
//
// Messages, one a datagram:
//     watch 0|1      pictures, levels and time are told, or not
//     do ACTION      see sim/operator/action.h. A key stays down, or up, and a knob where it is
//                    for key_hold_us before it is moved again, so that the program sees both
//     pace FACTOR|max, pause, go
//     step           stand still a second later than now
//     off            the device is switched off, as at the limit of a run
//
// What is told are report lines of the source "live", which are no part of the record: `picture`
// with its `pixels`; `time` with `pace` ("max" or a factor) and `paused`; `levels` of the streams,
// see level_text(); `did` with `action` and `at`, when it is due;
// `off`, when the device will be.
#pragma once

#include "sim/models/surroundings.h"
#include "sim/operator/hands.h"
#include "sim/time/pace.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace k4sim {

class Device;
class Scheduler;

class Spectator final : public Onlooker {
public:
    struct Ties {
        std::function<void(std::string_view event, std::initializer_list<Field> fields)> tell;
        std::function<std::string()> picture; // what is on the glass
        // Whether the device is this process's: else nothing is heard or told.
        std::function<bool()> present;
        std::function<void()> switch_off;
        bool real_time = false; // for the whole run: nobody changes the pace
    };

    // `socket` is the launcher's; device, hands and scheduler outlive it.
    Spectator(int socket, Device& device, Hands& hands, Scheduler& time, Ties ties);

    int descriptor() const override { return ties_.present() ? socket_ : -1; }
    bool look(Microseconds real, Microseconds earliest, Microseconds latest) override;

    // The glass shows something else from now on.
    void picture_changed() { picture_is_new_ = true; }

private:
    bool hear(Microseconds when);
    void obey(std::string_view message, Microseconds when);
    void act(std::string_view line, Microseconds when);
    void switch_off(Microseconds when);
    void set_pace(std::string_view factor);
    void watch(bool watched);
    void tell_what_is_new(Microseconds real);
    void tell_time();

    int socket_;
    Device& device_;
    Hands& hands_;
    Scheduler& time_;
    const Ties ties_;
    bool watched_ = false;
    bool picture_is_new_ = false;
    Microseconds picture_told_ = 0; // in real time, like the next
    Microseconds time_told_ = 0;
    Microseconds told_now_ = -1;        // virtual
    std::map<char, Microseconds> free_; // by key or knob: from when on it can be moved again
};

// Of each stream that moved something since this was last asked: "0 playback RMS DC RMS DC;...",
// in tenths of a dB, a pair each channel.
std::string level_text(Device& device);

} // namespace k4sim
