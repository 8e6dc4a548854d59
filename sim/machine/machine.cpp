#include "sim/machine/machine.h"

#include "sim/machine/signals.h"
#include "sim/models/device.h"
#include "sim/models/faults.h"
#include "sim/operator/operator.h"
#include "sim/time/scheduler.h"
#include "sim/time/unobserved.h"

#include <algorithm>
#include <array>
#include <unistd.h>
#include <utility>

namespace k4sim {

namespace {

char digit_of(std::uint8_t grey) { return "0123456789abcdef"[grey & 15]; }

// One hexadecimal digit a pixel, row by row. Without a panel there is nothing to see.
std::string picture_text(Device& device) {
    const Picture picture = device.oled() ? device.oled()->picture() : Picture{};
    std::string text(picture.size(), '0');
    std::ranges::transform(picture, text.begin(), digit_of);
    return text;
}

// A thread that has read the same from one port this often waits for something outside.
// From then on it looks less often, so that a wait without end costs little real time.
constexpr int reads_of_busy_wait = 20'000;
constexpr Microseconds busy_wait_access_us = 1000;

// A process that says this much before it opens the device has not much to do with it.
constexpr std::size_t kept_report_max = 1 << 20;

// What a thread reads again and again, with no other access between.
struct Polling {
    std::uint16_t port = 0;
    std::uint8_t value = 0;
    int reads = 0;

    void note(std::uint16_t read_port, std::uint8_t read_value) {
        if (read_port != port || read_value != value) *this = {read_port, read_value, 0};
        if (reads < reads_of_busy_wait) ++reads;
    }
    bool is_busy_wait() const { return reads == reads_of_busy_wait; }
};

thread_local Polling polling;

} // namespace

Machine::Machine() { reset(); }

Machine::~Machine() = default;

void Machine::reset(const Setup& setup) {
    const Unobserved unobserved;
    ++generation_;
    setup_ = setup;
    attached_ports_ = nullptr;
    creations_until_failure_ = 0;
    privilege_refused_ = false;
    new_device();
    start_faults();
    operator_->start();
}

Microseconds Machine::now() const { return scheduler().now(); }

void Machine::at(Microseconds when, std::function<void()> action) {
    const Unobserved unobserved;
    scheduler().at(when, [this, generation = generation_, action = std::move(action)] {
        if (generation == generation_) action();
    });
}

void Machine::event(std::string_view source, std::string_view what,
                    std::initializer_list<Field> fields) {
    const Unobserved unobserved;
    std::string line = report_line(now(), source, what, fields);
    if (report_.is_open())
        write_report(line);
    else
        events_.push_back({now(), std::string(source), std::string(what), std::move(line)});
}

std::uint8_t Machine::port_in(std::uint16_t port) {
    const Unobserved unobserved;
    scheduler().spend(polling.is_busy_wait() ? busy_wait_access_us : access_us);
    const std::uint8_t value = ports().in(port);
    polling.note(port, value);
    return value;
}

void Machine::port_out(std::uint16_t port, std::uint8_t value) {
    const Unobserved unobserved;
    polling = {};
    scheduler().spend(access_us);
    ports().out(port, value);
}

void Machine::apply_fault(const FaultSetting& fault) {
    if (fault.name == "thread-create")
        set_thread_create_failure(fault.cleared ? 0 : static_cast<int>(fault_number(fault.value)));
    else if (fault.name == "no-privilege")
        set_privilege_refused(!fault.cleared);
    else if (fault.name == "signal")
        send_signal(fault.value);
    else if (fault.cleared)
        device_->clear_fault(fault.name, fault.value);
    else
        device_->set_fault(fault.name, fault.value);
    if (fault.cleared)
        event("fault", fault.name, {{"value", std::string_view(fault.value)}, {"cleared", true}});
    else
        event("fault", fault.name, {{"value", std::string_view(fault.value)}});
}

bool Machine::thread_create_fails() {
    if (creations_until_failure_ == 0 || --creations_until_failure_ > 0) return false;
    event("program", "thread-refused");
    return true;
}

void Machine::record(const Setup& setup, std::function<void()> switch_off) {
    switch_off_ = std::move(switch_off);
    report_.open(setup.report_fd);
    if (setup.wires_fd >= 0) wires_.open(setup.wires_fd, setup.board);
    if (setup.wave_fd >= 0)
        waves_.open(
            setup.wave_fd, [this] { return now(); },
            [this](std::string_view why) {
                write_report(report_line(now(), "plan", "sound-cut", {{"why", why}}));
            });
    reset(setup);
    if (setup.control_fd >= 0) admit_spectator(setup.control_fd);
}

void Machine::share(int claim_descriptor, bool first) {
    claim_.share(claim_descriptor);
    first_ = first;
}

bool Machine::claim() {
    if (!claim_.take()) {
        if (!std::exchange(told_of_other_, true))
            write_fully(STDERR_FILENO, "k4sim: another process of this run has opened the device, "
                                       "which is for one process\n");
        return false;
    }
    wires_.write_on();
    waves_.write_on();
    if (!kept_report_.empty()) write_fully(report_.descriptor(), kept_report_);
    kept_report_.clear();
    return true;
}

void Machine::leave_record() {
    claim_.forget();
    wires_.leave();
    waves_.leave();
    first_ = false;
    kept_report_.clear();
    if (!claim_.shared()) report_.close();
}

// It hears and sees as long as the device is this process's.
void Machine::admit_spectator(int socket) {
    spectators_hands_ = std::make_unique<Hands>(
        *device_, *this, [this](const FaultSetting& fault) { apply_fault(fault); });
    Spectator::Ties ties;
    ties.tell = [this](std::string_view what, std::initializer_list<Field> fields) {
        write_report(report_line(now(), "live", what, fields));
    };
    ties.picture = [this] { return picture_text(*device_); };
    ties.present = [this] { return reports(); };
    ties.switch_off = switch_off_;
    ties.real_time = !setup_.real.empty();
    spectator_ = std::make_unique<Spectator>(socket, *device_, *spectators_hands_, scheduler(),
                                             std::move(ties));
    scheduler().pace().set_onlooker(spectator_.get(), now());
}

bool Machine::reports() const {
    return !claim_.shared() || claim_.held() || (first_ && claim_.is_free());
}

void Machine::write_report(std::string_view line) {
    if (reports())
        report_.write(line);
    else if (!first_ && kept_report_.size() + line.size() < kept_report_max)
        kept_report_.append(line).append("\n");
}

void Machine::end_record(std::string_view how) {
    if (!recorded()) return;
    picture_watch_->end();
    event("oled", "final-picture", {{"pixels", picture_text(*device_)}});
    event("program", how);
    wires_.end(now() * ns_per_us);
    report_.close();
}

void Machine::report_death(const Death& death) {
    if (!recorded() || !reports()) return;
    FixedLine line(now(), "program", "died");
    line.set("signal", death.signal);
    line.set("thread", death.thread);
    line.set_address("address", death.address);
    line.set_address("accessed", death.accessed);
    line.set_text("file", death.file);
    line.set_address("offset", death.offset);
    line.write_to(report_.descriptor());
    if (const auto* lit = picture_watch_->not_handed_on()) {
        FixedLine picture(lit->appeared, "oled", "picture");
        picture.set_text("pixels", lit->picture);
        picture.write_to(report_.descriptor());
    }
    std::array<char, std::tuple_size_v<Picture>> pixels{};
    pixels.fill('0');
    if (device_->oled() != nullptr)
        std::ranges::transform(device_->oled()->picture(), pixels.begin(), digit_of);
    FixedLine picture(now(), "oled", "final-picture");
    picture.set_text("pixels", {pixels.data(), pixels.size()});
    picture.write_to(report_.descriptor());
    wires_.end(now() * ns_per_us);
    report_.close();
}

void Machine::play_tone(std::uint32_t divider, std::uint32_t length_ms) {
    const Unobserved unobserved;
    Speaker& speaker = device_->speaker();
    speaker.tone(divider, length_ms);
    if (speaker.sounding())
        operator_->tone(static_cast<int>(speaker.frequency_hz()), static_cast<int>(length_ms));
}

void Machine::play_sound(std::uint32_t divider) {
    const Unobserved unobserved;
    Speaker& speaker = device_->speaker();
    speaker.set_divider(divider);
    if (speaker.sounding()) operator_->tone(static_cast<int>(speaker.frequency_hz()), 0);
}

void Machine::console_text(int stream, std::string_view text) {
    const Unobserved unobserved;
    if (recorded()) picture_watch_->complete();
    event("console", "text", {{"stream", std::int64_t{stream}}, {"text", text}});
    console_lines_.add(text, [this](std::string_view line) { operator_->console_line(line); });
}

PortSpace& Machine::device_ports() { return *device_; }

PortSpace& Machine::ports() {
    if (attached_ports_) return *attached_ports_;
    return *device_;
}

// The operator goes before the device that it stands at.
void Machine::new_device() {
    operator_.reset();
    device_ = std::make_unique<Device>(setup_.board, *this, setup_.seed);
    picture_watch_ = std::make_unique<PictureWatch>(
        *this, [this] { return picture_text(*device_); },
        [this](Microseconds appeared, const std::string& picture) {
            report_picture(appeared, picture);
        });
    if (Oled* oled = device_->oled()) oled->set_on_change([this] { picture_changed(); });
    const auto keep_place = [] { scheduler().keep_place(); };
    operator_ =
        make_operator(setup_, *device_, *this,
                      {.apply_fault = [this](const FaultSetting& fault) { apply_fault(fault); },
                       .stop = [this] { stop(); },
                       .after_steps = setup_.control_fd >= 0 ? keep_place : std::function<void()>{},
                       .left = [this] { operator_left(); }});
}

void Machine::operator_left() {
    if (setup_.linger_us && switch_off_) at(now() + *setup_.linger_us, switch_off_);
}

void Machine::picture_changed() {
    picture_watch_->changed();
    if (spectator_) spectator_->picture_changed();
}

void Machine::start_faults() {
    for (std::size_t i = 0; i < setup_.faults.size(); ++i) {
        if (setup_.faults[i].at_us == 0)
            strike(i);
        else
            at(setup_.faults[i].at_us, [this, i] { strike(i); });
    }
}

void Machine::strike(std::size_t planned) {
    write_report(report_line(now(), "plan", "fault", {{"number", std::int64_t(planned)}}));
    apply_fault(setup_.faults[planned]);
}

void Machine::stop() {
    if (!stop_action_ || !reports()) return;
    write_report(report_line(now(), "plan", "stop", {{"number", std::int64_t{0}}}));
    stop_action_();
}

void Machine::report_picture(Microseconds appeared, const std::string& picture) {
    write_report(report_line(appeared, "oled", "picture", {{"pixels", std::string_view(picture)}}));
}

Machine& machine() {
    static Machine* const only = new Machine;
    return *only;
}

} // namespace k4sim
