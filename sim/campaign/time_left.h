// The line that tells how far a number of runs is, in a terminal.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace k4sim {

// "130 of 1240 runs, 2 not as expected, 3 min 20 s left".
std::string time_left_line(std::size_t done, std::size_t all, std::size_t failed, double elapsed_s);

// On standard error; silent when that is no terminal.
class TimeLeft {
public:
    explicit TimeLeft(std::size_t all);
    ~TimeLeft(); // the line goes
    TimeLeft(const TimeLeft&) = delete;
    TimeLeft& operator=(const TimeLeft&) = delete;

    void one_done(bool as_expected);

private:
    using Clock = std::chrono::steady_clock;

    bool shown_;
    std::size_t all_, done_ = 0, failed_ = 0;
    Clock::time_point begin_ = Clock::now();
};

} // namespace k4sim
