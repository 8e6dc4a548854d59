// The signals that a call lets through.
#pragma once

#include <csignal>

namespace k4sim {

// As long as it lives the thread blocks `set`, and no others; null: what it blocked before.
class Masked {
public:
    explicit Masked(const sigset_t* set);
    ~Masked();
    Masked(const Masked&) = delete;
    Masked& operator=(const Masked&) = delete;

    // Whether a signal that has been pending was handled by that.
    bool interrupted() const { return interrupted_; }

private:
    bool masks_;
    bool interrupted_ = false;
    sigset_t former_{};
};

} // namespace k4sim
