// How far a run is: one line at the foot of the terminal.
#pragma once

#include "sim/launcher/record.h"

#include <chrono>
#include <optional>
#include <string>

namespace k4sim {

// The line keeps the terminal's last row for itself, and what the program writes scrolls above
// it. It comes when a run has taken a second, ten times a second at most; none where standard
// error is no terminal that k4sim is in the foreground of.
class Progress {
public:
    // pace: of virtual time, so that it goes on while nothing happens; empty: as events come.
    Progress(bool wanted, std::optional<double> pace);
    // Takes the line away and gives the row back.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Real milliseconds after which look() should be called even when nothing came; -1: none.
    int patience_ms() const;

    // What is seen of the run by now.
    void look(const Observation& seen);

private:
    using Clock = std::chrono::steady_clock;
    struct Size {
        int rows = 0, columns = 0;
        bool operator==(const Size&) const = default;
    };
    static Size size_of_terminal();
    Microseconds virtual_now(const Observation& seen, Clock::time_point now);
    void take_row(Size size);
    void give_back();

    bool wanted_;
    double pace_;
    Clock::time_point due_ = Clock::now() + std::chrono::seconds(1);
    Microseconds last_event_us_ = 0;
    Clock::time_point last_event_;
    Size size_; // while the row is taken
};

// "12.3 s  ParallelPrt OK  Ethernet OK ..." in at most so many columns: the names of the rows
// are cut first, then their longest texts.
std::string progress_line(Microseconds virtual_now, const Observation& seen, int columns);

} // namespace k4sim
