// The program's errno survives what is done behind its back.
#pragma once

#include <cerrno>

namespace k4sim {

class KeepErrno {
public:
    KeepErrno() : saved_(errno) {}
    ~KeepErrno() { errno = saved_; }
    KeepErrno(const KeepErrno&) = delete;
    KeepErrno& operator=(const KeepErrno&) = delete;

private:
    int saved_;
};

} // namespace k4sim
