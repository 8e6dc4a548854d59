// Somebody who looks on at a run while it goes on, and has a say in it.
#pragma once

#include <string>

namespace k4sim {

class RunWatcher {
public:
    virtual ~RunWatcher() = default;

    // The end of a socket that the device library reads messages from (sim/machine/spectator.h).
    virtual int device_end() const = 0;

    // Sees each line that the device library reports. True: the record is not to have it.
    virtual bool takes(const std::string& line) = 0;

    // The run is over, and its record complete. `asked_to_end`: by a signal to the launcher.
    virtual void ended(const std::string& closing_line, int status, bool asked_to_end) = 0;
};

} // namespace k4sim
