// Whether a signal was for the launcher, or for all of its process group, the program included: by
// a process of the group that does nothing but keep the signals that it gets.
#pragma once

#include <csignal>
#include <sys/types.h>

namespace k4sim {

class GroupWitness {
public:
    // The caller holds back the signals that it will ask about. Without a process or a line to it
    // nothing was for the group.
    GroupWitness();
    ~GroupWitness();
    GroupWitness(const GroupWitness&) = delete;
    GroupWitness& operator=(const GroupWitness&) = delete;

    // Whether the group got the signal that the caller got, since it was last asked about that.
    // From a signal handler as well.
    bool has_got(int number) const;

private:
    pid_t process_ = -1;
    int line_ = -1; // a question is a signal's number, an answer 1 or 0
};

} // namespace k4sim
