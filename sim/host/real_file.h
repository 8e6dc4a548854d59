// A device file of this machine in the place of one of the virtual K/4. What the program does with
// it goes to the kernel; a wait for it is one in real time, in which the other threads go on.
//
// NOTE: a read waits until there is something, whatever VMIN and VTIME of a terminal say.
#pragma once

#include "sim/host/open_file.h"

namespace k4sim {

// How often what is real is looked at while a thread waits for it.
inline constexpr Microseconds real_look_us = 1000;

class RealFile : public OpenFile {
public:
    // Has the file open itself as well, such that no call waits in the kernel. When that can't be,
    // the program's own opening tells it why.
    explicit RealFile(std::string path);
    ~RealFile() override;
    RealFile(const RealFile&) = delete;
    RealFile& operator=(const RealFile&) = delete;

    std::string path() const override { return path_; }
    bool readable() const override;
    bool writable() const override;
    Microseconds ready_at() const override;
    ssize_t read(void* data, std::size_t size) override;
    ssize_t write(const void* data, std::size_t size) override;
    int control(unsigned long request, void* argument) override;

protected:
    int descriptor() const { return descriptor_; }

private:
    bool ready(short wanted) const;

    const std::string path_;
    int descriptor_;
};

} // namespace k4sim
