// The one virtual K/4 of this process: the device, its operator, its virtual time, and
// the record of what happens. The stand-ins for libc and the port trap work on it, and
// so do unit tests that run code of the program against the device.
#pragma once

#include "sim/machine/claim.h"
#include "sim/machine/console.h"
#include "sim/machine/last_words.h"
#include "sim/machine/picture_watch.h"
#include "sim/machine/report.h"
#include "sim/machine/spectator.h"
#include "sim/machine/wave_files.h"
#include "sim/machine/wire_dump.h"
#include "sim/models/bus/port_space.h"
#include "sim/models/surroundings.h"
#include "sim/operator/hands.h"
#include "sim/setup.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

class Device;
class Operator;

// What happened, as a unit test reads it.
struct Event {
    Microseconds t = 0;
    std::string source;
    std::string what;
    std::string line; // the whole event as in events.jsonl
};

// A port access and a look at a clock take this long, as on the real bus. (A port that has
// read the same 20,000 times in a row is read once a millisecond from then on.)
inline constexpr Microseconds access_us = 1;

class Machine final : public Surroundings {
public:
    Machine();
    ~Machine() override;
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // A new device, set up as told; time goes on. What the former device and operator
    // had planned does not happen any more, the ports are the device's, and no
    // stand-in fails. The default is board aes without an operator.
    void reset(const Setup& setup = {});

    const Setup& setup() const { return setup_; }
    Device& device() { return *device_; }

    // Surroundings. Time starts when the library is loaded.
    Microseconds now() const override;
    void at(Microseconds when, std::function<void()> action) override;
    void event(std::string_view source, std::string_view what,
               std::initializer_list<Field> fields = {}) override;
    Wires* wires() override { return wires_.is_open() ? &wires_ : nullptr; }
    SoundListener* sound_listener() override { return waves_.is_open() ? &waves_ : nullptr; }

    // Lets `ports` answer instead of the device; null: the device again. Stays the
    // caller's.
    void attach_ports(PortSpace* ports) { attached_ports_ = ports; }

    // The ports of the device itself.
    PortSpace& device_ports();

    // The port instructions of the program. The access takes `access_us`.
    std::uint8_t port_in(std::uint16_t port);
    void port_out(std::uint16_t port, std::uint8_t value);

    // A fault by name, or its end: one of the stand-ins ("thread-create", "no-privilege") or one of
    // the device.
    void apply_fault(const FaultSetting& fault);

    // The nth thread creation from now on fails with EAGAIN (1: the next one); 0: none.
    void set_thread_create_failure(int nth) { creations_until_failure_ = nth; }
    // Counts a creation; true when it is the one that fails. Event "thread-refused".
    bool thread_create_fails();

    // Whether a request for I/O privilege is refused as without root.
    void set_privilege_refused(bool refused) { privilege_refused_ = refused; }
    bool privilege_refused() const { return privilege_refused_; }

    // Events since the start or the last clear_events(). Kept only in a process without
    // a record.
    const std::vector<Event>& events() const { return events_; }
    void clear_events() { events_.clear(); }

    // Begins a record of the run, as the launcher set it up; the device is a new one. `switch_off`
    // ends the run, for somebody who looks on, or after the operator left.
    void record(const Setup& setup, std::function<void()> switch_off);
    bool recorded() const { return report_.is_open(); }

    // Called when the run comes to the setup's stop.
    void set_stop_action(std::function<void()> action) { stop_action_ = std::move(action); }

    // Last lines of the record: the picture on the glass, and how the run ended.
    void end_record(std::string_view how);

    // Last lines of the record of a program that dies, from its signal handler: where, then the
    // last picture with any light on it and the one on the glass. Without the heap.
    void report_death(const Death& death);

    // The device and the record are those of a run that may have more processes. `first`: this
    // is the one that the launcher started, whose lines are recorded as long as nobody has the
    // device. Lines of any other are kept until it opens the device, and recorded then.
    void share(int claim_descriptor, bool first);

    // Before the device is opened, or the ports. False when another process of the run has it,
    // at first with a line on standard error.
    bool claim();

    // In the child of a fork: device and record are the parent's.
    void leave_record();

    // The program's requests to the speaker: a tone of speaker_clock_hz / divider for
    // that long, and a sound until further notice (divider 0: silence).
    void play_tone(std::uint32_t divider, std::uint32_t length_ms);
    void play_sound(std::uint32_t divider);

    // Text that the program wrote to its standard output (1) or error (2).
    void console_text(int stream, std::string_view text);

private:
    PortSpace& ports();
    void new_device();
    void operator_left();
    void picture_changed();
    void start_faults();
    void strike(std::size_t planned); // of the setup's faults
    bool reports() const;             // this process's lines are those of the record
    void write_report(std::string_view line);
    void stop();
    void admit_spectator(int socket);
    void report_picture(Microseconds appeared, const std::string& picture);

    Setup setup_;
    Report report_;
    Claim claim_;
    WireDump wires_;
    WaveFiles waves_;
    bool told_of_other_ = false;
    bool first_ = true;       // of the processes of the run
    std::string kept_report_; // of a process that may still open the device
    std::unique_ptr<Device> device_;
    std::unique_ptr<Operator> operator_;
    std::unique_ptr<PictureWatch> picture_watch_;
    std::unique_ptr<Hands> spectators_hands_;
    std::unique_ptr<Spectator> spectator_;
    LineAssembler console_lines_;
    PortSpace* attached_ports_ = nullptr;
    std::uint64_t generation_ = 0; // of the device; planned actions of older ones are void
    int creations_until_failure_ = 0;
    bool privilege_refused_ = false;
    std::function<void()> stop_action_, switch_off_;
    std::vector<Event> events_;
};

// Made by the first call, and never destroyed.
Machine& machine();

} // namespace k4sim
