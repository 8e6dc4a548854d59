// A run has one device and one record, whatever number of processes it has. The first process
// that opens the device has it from then on, and the record is of that process.
#pragma once

namespace k4sim {

class Claim {
public:
    // The device is shared with other processes by this descriptor, an eventfd that holds 1
    // until one of them takes it. Without it, it is this process's own.
    void share(int descriptor);

    bool shared() const { return descriptor_ >= 0; }

    // True when this process has the device, from now on or since before.
    bool take();

    // Whether nobody has taken it yet.
    bool is_free() const;

    bool held() const { return held_; }

    // In the child of a fork: what the parent holds is not the child's.
    void forget() { held_ = false; }

private:
    int descriptor_ = -1;
    bool held_ = false;
};

} // namespace k4sim
