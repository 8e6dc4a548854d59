// Runs of k4sim side by side, each a process of its own.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace k4sim {

// A run that is over, with its record, which goes when this was looked at.
struct FinishedRun {
    std::size_t number; // of the run, from 0
    std::string folder; // of the record
    int status;         // as of a shell: 128 + the signal that ended k4sim
    double real_s;
    double processor_s; // of k4sim and the program
};

// The file of what was written to standard error beside a run's record.
std::string complaints_of(const std::string& folder);

class Crew {
public:
    // jobs: how many at a time; 0: as many as there are processors for this process.
    explicit Crew(unsigned jobs);

    // The words after "k4sim run" of run `number`; --record and --quiet are added.
    using Words = std::function<std::vector<std::string>(std::size_t number)>;
    using Done = std::function<void(const FinishedRun& run)>;

    // Runs 0 to count - 1, as they come to their ends. False: SIGINT, SIGTERM or SIGHUP broke it
    // off; what was not done then leaves nothing. Throws std::runtime_error when no run can be
    // started, and what `done` throws.
    bool run(std::size_t count, const Words& words, const Done& done) const;

private:
    unsigned jobs_;
};

} // namespace k4sim
