// Signals that are meant to end a run. The program is to end in its own way, so that the record
// is complete: it gets the first one, and a second one ends it at once.
#pragma once

#include "sim/launcher/witness.h"

#include <array>
#include <csignal>
#include <optional>
#include <sys/types.h>

namespace k4sim {

// SIGINT, SIGQUIT, SIGTERM and SIGHUP of the launcher. One that it ignores is ignored by the
// program, too. They are held back from the constructor to release_in_...(), so that none gets
// lost while the program is started. One at a time.
class RunSignals {
public:
    RunSignals();
    ~RunSignals();
    RunSignals(const RunSignals&) = delete;
    RunSignals& operator=(const RunSignals&) = delete;

    // In the child: everything as the launcher found it. A program that is not in the foreground
    // of the launcher's terminal gets a process group of its own: then what the launcher's group
    // is sent reaches it through the launcher alone, that is, once.
    void release_in_child() const;

    // In the launcher: hands on to this child from now on.
    // A program of the launcher's group gets nothing from it that the group was sent.
    void release_in_launcher(pid_t child);

    // From any thread; nothing without a child.
    static void kill_child();

    // Whether a signal to the launcher was handed on.
    bool asked_to_end() const;

    // The child is gone.
    void forget_child();

private:
    static constexpr std::array<int, 4> numbers{SIGINT, SIGQUIT, SIGTERM, SIGHUP};

    bool in_foreground_;
    std::optional<GroupWitness> witness_; // where the program is of the launcher's group
    sigset_t former_mask_{};
    std::array<struct sigaction, numbers.size()> former_{};
};

} // namespace k4sim
