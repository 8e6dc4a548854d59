#include "sim/launcher/witness.h"

#include <array>
#include <cerrno>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace k4sim {

namespace {

bool took_pending(int number) {
    sigset_t asked{};
    sigemptyset(&asked);
    sigaddset(&asked, number);
    const timespec at_once{};
    return sigtimedwait(&asked, nullptr, &at_once) == number;
}

// Until the launcher is gone. Nothing else of the launcher's may stay open here.
[[noreturn]] void bear_witness(int line) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(line, 0);
    close_range(1, ~0U, 0);
    for (unsigned char number = 0; read(0, &number, 1) == 1;) {
        const unsigned char answer = took_pending(number) ? 1 : 0;
        if (write(0, &answer, 1) != 1) break;
    }
    _exit(0);
}

} // namespace

GroupWitness::GroupWitness() {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) return;
    process_ = fork();
    if (process_ == 0) bear_witness(ends[1]);
    close(ends[1]);
    line_ = ends[0];
}

GroupWitness::~GroupWitness() {
    if (line_ >= 0) close(line_);
    while (process_ > 0 && waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

// A signal to a group comes to its youngest process first: the witness has it when the launcher
// has it.
bool GroupWitness::has_got(int number) const {
    const auto question = static_cast<unsigned char>(number);
    unsigned char answer = 0;
    return send(line_, &question, 1, MSG_NOSIGNAL) == 1 && recv(line_, &answer, 1, 0) == 1 &&
           answer == 1;
}

} // namespace k4sim
