#include "sim/host/selection.h"

#include "sim/host/descriptors.h"
#include "sim/host/result.h"
#include "sim/host/threads.h"

#include <cerrno>
#include <vector>

namespace k4sim {

namespace {

// What select's three sets ask for and what answers them, as poll says it.
constexpr short wanted_events[3] = {POLLIN, POLLOUT, POLLPRI};
constexpr short answers[3] = {POLLIN | POLLHUP | POLLERR, POLLOUT | POLLERR, POLLPRI};

using Sets = fd_set* [3];

std::vector<pollfd> states_of(int count, const Sets& sets) {
    std::vector<pollfd> states;
    for (int descriptor = 0; descriptor < count; ++descriptor) {
        pollfd state{descriptor, 0, 0};
        for (int i = 0; i < 3; ++i)
            if (sets[i] != nullptr && FD_ISSET(descriptor, sets[i]))
                state.events |= wanted_events[i];
        if (state.events != 0) states.push_back(state);
    }
    return states;
}

// Leaves in the set what is ready; how many that are.
int answer(const std::vector<pollfd>& states, int kind, fd_set* set) {
    if (set == nullptr) return 0;
    FD_ZERO(set);
    int ready = 0;
    for (const pollfd& state : states) {
        if ((state.events & wanted_events[kind]) == 0 || (state.revents & answers[kind]) == 0)
            continue;
        FD_SET(state.fd, set);
        ++ready;
    }
    return ready;
}

bool any_invalid(const std::vector<pollfd>& states) {
    for (const pollfd& state : states)
        if ((state.revents & POLLNVAL) != 0) return true;
    return false;
}

} // namespace

int select_until(int count, fd_set* reading, fd_set* writing, fd_set* exceptions,
                 Microseconds deadline) {
    test_cancel();
    const Sets sets = {reading, writing, exceptions};
    if (count < 0 || count > FD_SETSIZE) return libc_result(-EINVAL);
    std::vector<pollfd> states = states_of(count, sets);
    if (descriptors().poll(states.data(), states.size(), deadline) < 0) return -1;
    if (any_invalid(states)) return libc_result(-EBADF);
    return answer(states, 0, reading) + answer(states, 1, writing) + answer(states, 2, exceptions);
}

} // namespace k4sim
