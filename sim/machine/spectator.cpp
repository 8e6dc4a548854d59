#include "sim/machine/spectator.h"

#include "sim/models/device.h"
#include "sim/time/scheduler.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <sys/syscall.h>
#include <unistd.h>

namespace k4sim {

namespace {

constexpr Microseconds picture_every_us = 25'000; // real time
constexpr Microseconds time_every_us = 100'000;
constexpr PcmStream::Direction directions[] = {PcmStream::Direction::playback,
                                               PcmStream::Direction::capture};

template <class Use>
void for_streams(Device& device, Use use) {
    for (unsigned number = 0; number < device.sound_card().pcm_count(); ++number)
        for (const auto direction : directions)
            use(number, device.sound_card().pcm(number)->stream(direction));
}

std::string tenths(double level_db) { return " " + std::to_string(std::lround(level_db * 10)); }

// A key, or a knob by its number; nothing of other actions.
char what_moves(const Action& action) {
    return action.kind == Action::Kind::turn ? static_cast<char>(action.encoder) : action.key;
}

// How long a key or a knob has to stay so that the program sees it.
Microseconds duration_of(const Action& action) {
    switch (action.kind) {
    case Action::Kind::hold:
    case Action::Kind::release:
        return key_hold_us;
    case Action::Kind::press:
        return 2 * key_hold_us;
    case Action::Kind::turn:
        return key_hold_us + std::abs(action.steps) * knob_step_us;
    default:
        return 0;
    }
}

std::string factor_text(std::optional<double> factor) {
    if (!factor) return "max";
    std::array<char, 40> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), *factor).ptr};
}

} // namespace

Spectator::Spectator(int socket, Device& device, Hands& hands, Scheduler& time, Ties ties)
    : socket_(socket), device_(device), hands_(hands), time_(time), ties_(std::move(ties)) {}

bool Spectator::look(Microseconds real, Microseconds earliest, Microseconds) {
    if (!ties_.present()) return false;
    bool heard = false;
    while (hear(earliest))
        heard = true;
    if (watched_) tell_what_is_new(real);
    return heard;
}

// One message. Without the launcher there is nobody.
bool Spectator::hear(Microseconds when) {
    std::array<char, 1024> message{};
    if (socket_ < 0) return false;
    const long size = syscall(SYS_read, socket_, message.data(), message.size());
    if (size == 0) socket_ = -1;
    if (size <= 0) return false;
    obey({message.data(), static_cast<std::size_t>(size)}, when);
    return true;
}

void Spectator::obey(std::string_view message, Microseconds when) {
    const std::string_view verb = message.substr(0, message.find(' '));
    const std::string_view rest = message.substr(std::min(verb.size() + 1, message.size()));
    Pace& pace = time_.pace();
    if (verb == "do") act(rest, when);
    if (verb == "pace" && !ties_.real_time) set_pace(rest);
    if (verb == "off") switch_off(when);
    if (verb == "watch") watch(rest == "1");
    if (verb == "pause") pace.stop(time_.now());
    if (verb == "go") pace.go_on(time_.now());
    if (verb == "step") {
        const Microseconds from = std::max(time_.now(), pace.stop().value_or(0));
        pace.go_on(time_.now());
        pace.stop(from + us_per_second);
    }
    told_now_ = -1;
}

void Spectator::act(std::string_view line, Microseconds when) {
    const auto action = parse_action(line);
    if (!action) return;
    Microseconds& free = free_[what_moves(*action)];
    when = std::max(when, free);
    free = when + duration_of(*action);
    ties_.tell("did", {{"action", line}, {"at", when}});
    time_.at_kept_place(when, [this, what = *action] { hands_.act(what); });
}

void Spectator::switch_off(Microseconds when) {
    ties_.tell("off", {{"at", when}});
    time_.at_kept_place(when, ties_.switch_off);
}

void Spectator::set_pace(std::string_view factor) {
    double number = 0;
    std::from_chars(factor.data(), factor.data() + factor.size(), number);
    if (number > 0)
        time_.set_pace(number);
    else if (factor == "max")
        time_.set_pace({});
}

void Spectator::watch(bool watched) {
    watched_ = picture_is_new_ = watched;
    for_streams(device_, [&](unsigned, PcmStream& stream) { stream.set_metered(watched); });
}

void Spectator::tell_what_is_new(Microseconds real) {
    if (picture_is_new_ && real - picture_told_ >= picture_every_us) {
        picture_is_new_ = false;
        picture_told_ = real;
        const std::string pixels = ties_.picture();
        ties_.tell("picture", {{"pixels", std::string_view(pixels)}});
    }
    if (real - time_told_ >= time_every_us && time_.now() != told_now_) {
        time_told_ = real;
        tell_time();
    }
}

void Spectator::tell_time() {
    told_now_ = time_.now();
    const std::string pace = factor_text(time_.pace().factor());
    ties_.tell("time",
               {{"pace", std::string_view(pace)}, {"paused", time_.pace().stop().has_value()}});
    if (const std::string levels = level_text(device_); !levels.empty())
        ties_.tell("levels", {{"streams", std::string_view(levels)}});
}

std::string level_text(Device& device) {
    std::string text;
    for_streams(device, [&](unsigned number, PcmStream& stream) {
        const auto levels = stream.meter().take();
        if (levels.empty()) return;
        const bool plays = stream.direction() == PcmStream::Direction::playback;
        text += (text.empty() ? "" : ";") + std::to_string(number);
        text += plays ? " playback" : " capture";
        for (const LevelMeter::Level& level : levels)
            text += tenths(level.rms_db) + tenths(level.dc_db);
    });
    return text;
}

} // namespace k4sim
