// One end of a pipe of the program, or its event counter (eventfd). It is a real one; only waiting
// for it is done in virtual time.
#pragma once

#include "sim/host/open_file.h"

#include <cstdint>

namespace k4sim {

class PipeEnd : public OpenFile {
public:
    explicit PipeEnd(int descriptor);

    // A sanitizer's runtime makes pipes by libc's function and closes them by its own.
    bool still_open() const override;
    bool is_shared_after_fork() const override { return true; }
    bool readable() const override;
    bool writable() const override;
    ssize_t read(void* data, std::size_t size) override;
    // At most what a pipe takes in one piece; wakes who waits for the other end.
    ssize_t write(const void* data, std::size_t size) override;
    int control(unsigned long request, void* argument) override;

private:
    int descriptor_;
    ino_t inode_;
};

class EventCounter : public PipeEnd {
public:
    using PipeEnd::PipeEnd;

    std::size_t least_read() const override { return sizeof(std::uint64_t); }
};

} // namespace k4sim
