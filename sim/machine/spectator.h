// Somebody at a panel outside the process, who sees the device in real time and operates it by
// messages. What is done is put at an exact virtual time, as the step of a scenario would be, so
// that a run with these steps is the same run.
//
// Messages, one a datagram:
//     watch 0|1      pictures, levels and time are told, or not
//     do ACTION      see sim/operator/action.h. A key that is held stays down for key_hold_us at
//                    least, and up as long before it is held again, so that the program sees both
//     pace FACTOR|max, pause, go
//     step           stand still a second later than now
//
// What is told are report lines of the source "live", which are no part of the record: `picture`
// with its `pixels`; `time` with `pace` ("max" or a factor) and `paused`; `levels` of the streams,
// see level_text(); `did` with `action` and `at`, when it is due.
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
    using Tell = std::function<void(std::string_view event, std::initializer_list<Field> fields)>;

    // `socket` is the launcher's; device, hands and scheduler outlive it. `present` tells whether
    // the device is this process's: else nothing is heard or told.
    Spectator(int socket, Device& device, Hands& hands, Scheduler& time, Tell tell,
              std::function<std::string()> picture, std::function<bool()> present);

    int descriptor() const override { return present_() ? socket_ : -1; }
    bool look(Microseconds real, Microseconds earliest, Microseconds latest) override;

    // The glass shows something else from now on.
    void picture_changed() { picture_is_new_ = true; }

private:
    bool hear(Microseconds when);
    void obey(std::string_view message, Microseconds when);
    void act(std::string_view line, Microseconds when);
    void set_pace(std::string_view factor);
    void watch(bool watched);
    void tell_what_is_new(Microseconds real);
    void tell_time();

    int socket_;
    Device& device_;
    Hands& hands_;
    Scheduler& time_;
    Tell tell_;
    std::function<std::string()> picture_;
    std::function<bool()> present_;
    bool watched_ = false;
    bool picture_is_new_ = false;
    Microseconds picture_told_ = 0; // in real time, like the next
    Microseconds time_told_ = 0;
    Microseconds told_now_ = -1;         // virtual
    std::map<char, Microseconds> moved_; // by key: when it goes down, or up, last
};

// Of each stream that moved something since this was last asked: "0 playback RMS DC RMS DC;...",
// in tenths of a dB, a pair each channel.
std::string level_text(Device& device);

} // namespace k4sim
