#include "sim/models/lines/serial_faults.h"

#include "sim/models/breaker.h"
#include "sim/models/faults.h"
#include "sim/models/lines/serial_adapters.h"

#include <cmath>

namespace k4sim {

namespace {

constexpr unsigned half_speed = 50, full_speed = 100; // percent

int number_of(std::string_view value) { return static_cast<int>(fault_number(value)); }

constexpr Breaker<SerialAdapters> serial_breakers[] = {
    {"serial-absent", [](SerialAdapters& serial, auto value) { serial[number_of(value)].unplug(); },
     [](SerialAdapters& serial, auto value) { serial[number_of(value)].plug(); }},
    {"serial-byte-flipped",
     [](SerialAdapters& serial, auto value) { serial.flip_byte(number_of(value)); },
     [](SerialAdapters& serial, auto) { serial.flip_byte(0); }},
    {"serial-byte-lost",
     [](SerialAdapters& serial, auto value) { serial.lose_byte(number_of(value)); },
     [](SerialAdapters& serial, auto) { serial.lose_byte(0); }},
    {"serial-cable",
     [](SerialAdapters& serial, auto value) {
         serial.set_cable(value == "looped" ? SerialCable::looped : SerialCable::none);
     },
     [](SerialAdapters& serial, auto) { serial.set_cable(SerialCable::crossed); }},
    {"serial-first-number",
     [](SerialAdapters& serial, auto value) { serial.set_device_number(1, number_of(value)); }},
    {"serial-late",
     [](SerialAdapters& serial, auto value) {
         serial.come_late(std::llround(fault_decimal(value) * us_per_second));
     }},
    {"serial-output-refused",
     [](SerialAdapters& serial, auto value) { serial[number_of(value)].set_output_refused(true); },
     [](SerialAdapters& serial, auto value) {
         serial[number_of(value)].set_output_refused(false);
     }},
    {"serial-second-number",
     [](SerialAdapters& serial, auto value) { serial.set_device_number(2, number_of(value)); }},
    {"serial-settings-refused",
     [](SerialAdapters& serial, auto value) {
         serial[number_of(value)].set_settings_refused(true);
     },
     [](SerialAdapters& serial, auto value) {
         serial[number_of(value)].set_settings_refused(false);
     }},
    {"serial-speed-wrong",
     [](SerialAdapters& serial, auto value) { serial[number_of(value)].set_pace(half_speed); },
     [](SerialAdapters& serial, auto value) { serial[number_of(value)].set_pace(full_speed); }},
};

} // namespace

bool work_on_serial(Work work, SerialAdapters& serial, std::string_view name,
                    std::string_view value) {
    return work_by_name(serial_breakers, work, serial, name, value);
}

} // namespace k4sim
