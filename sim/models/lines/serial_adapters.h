// The two serial adapters of a K/4 in test, and what is between them. At first adapter 1 is
// /dev/ttyUSB0 and adapter 2 is /dev/ttyUSB1, and the cable connects them.
#pragma once

#include "sim/models/lines/serial_adapter.h"

#include <array>

namespace k4sim {

enum class SerialCable {
    crossed, // each one's output is the other's input
    looped,  // each one's output is its own input
    none
};

class SerialAdapters {
public:
    static constexpr int device_numbers = 10; // that an adapter may get, from 0 on

    explicit SerialAdapters(Surroundings& surroundings);

    // The adapter that the system has given this device number; null: no such device.
    SerialAdapter* find(int device_number);

    // 1 or 2.
    SerialAdapter& operator[](int number);

    void set_cable(SerialCable cable) { cable_ = cable; }

    // Plugs adapter `number` again, whereupon the system gives it `device_number`. When the
    // other adapter has that one, it is plugged again too and gets the former one. Event
    // "numbered" for each.
    void set_device_number(int number, int device_number);

    // Both are gone now and plugged in after `time_us`.
    void come_late(Microseconds time_us);

    // The nth byte that crosses the cable from now on (1: the next; 0: none) is lost, or its lowest
    // bit is wrong. Events "byte-lost" and "byte-flipped".
    void lose_byte(int nth) { until_lost_ = nth; }
    void flip_byte(int nth) { until_flipped_ = nth; }

    // The lines of both.
    void name_sites(FaultSites& sites);

    // When the next frame has crossed the cable; never when none is on its way.
    Microseconds next_frame_at() const;

private:
    struct Port {
        SerialAdapter adapter;
        int device_number;
    };

    void carry(int number, std::uint8_t byte);
    SerialAdapter* behind_cable(int number);
    void renumber(int number, int device_number);

    Surroundings& surroundings_;
    SerialCable cable_ = SerialCable::crossed;
    int until_lost_ = 0;
    int until_flipped_ = 0;
    std::array<Port, 2> ports_;
};

} // namespace k4sim
