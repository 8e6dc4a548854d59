// The device files of the serial adapters, /dev/ttyUSB0 to /dev/ttyUSB9.
#pragma once

namespace k4sim {

void add_serial_devices();

// In the child of a fork: the adapters are the parent's.
void leave_serial_lines();

} // namespace k4sim
