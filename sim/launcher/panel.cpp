#include "sim/launcher/panel.h"

#include "sim/launcher/panel_desk.h"
#include "sim/panel/server.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/random.h>
#include <unistd.h>

namespace k4sim {

namespace {

constexpr std::uint16_t usual_port = 8470;
constexpr int ports_tried = 100;

// Who knows it was told the printed address.
std::string make_token() {
    std::array<unsigned char, 16> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        throw UsageError(std::string("no random numbers for a panel: ") + std::strerror(errno));
    std::string text;
    for (const unsigned char byte : bytes)
        for (const int digit : {byte >> 4, byte & 15})
            text += "0123456789abcdef"[digit];
    return text;
}

// A browser on this machine can't call it at "any address".
std::string name_of_host(const std::string& address) {
    if (address == "0.0.0.0") return "127.0.0.1";
    if (address == "::") return "[::1]";
    return address.find(':') == std::string::npos ? address : "[" + address + "]";
}

constexpr std::array<int, 4> end_signals{SIGINT, SIGQUIT, SIGTERM, SIGHUP};
std::atomic<bool> signalled{false};

void note_signal(int) { signalled = true; }

// Between two runs: waits for another one to be asked for, or for a signal that ends it all. While
// a run goes on signals are its own affair (see signals.h), and else Idle's.
class Idle {
public:
    Idle() {
        if (bell_ < 0)
            throw UsageError(std::string("no bell for a panel: ") + std::strerror(errno));
        struct sigaction action {};
        action.sa_handler = note_signal;
        sigemptyset(&ends_);
        for (std::size_t i = 0; i < end_signals.size(); ++i) {
            sigaddset(&ends_, end_signals[i]);
            sigaction(end_signals[i], &action, &former_[i]);
        }
    }
    ~Idle() {
        for (std::size_t i = 0; i < end_signals.size(); ++i)
            sigaction(end_signals[i], &former_[i], nullptr);
        close(bell_);
    }
    Idle(const Idle&) = delete;
    Idle& operator=(const Idle&) = delete;

    // From any thread.
    void wake() const { eventfd_write(bell_, 1); }

    // False: a signal came.
    bool wait() const {
        sigset_t former{};
        sigprocmask(SIG_BLOCK, &ends_, &former);
        pollfd bell{bell_, POLLIN, 0};
        while (!signalled && ppoll(&bell, 1, nullptr, &former) < 0 && errno == EINTR) {
        }
        eventfd_t count = 0;
        if (!signalled) eventfd_read(bell_, &count);
        sigprocmask(SIG_SETMASK, &former, nullptr);
        return !signalled;
    }

private:
    int bell_ = eventfd(0, EFD_CLOEXEC);
    sigset_t ends_{};
    std::array<struct sigaction, end_signals.size()> former_{};
};

} // namespace

int serve_panel(const Options& options,
                const std::function<int(const Options&, RunWatcher*)>& run) {
    const std::string token = make_token();
    const Idle idle;
    PanelDesk desk(options, token, [&idle] { idle.wake(); });
    WebServer server(options.listen, options.port.value_or(usual_port), ports_tried, desk);
    desk.attach(server);
    std::printf("http://%s:%d/#%s\n", name_of_host(options.listen).c_str(), server.port(),
                token.c_str());
    std::fflush(stdout);
    for (Options next = options;;) {
        desk.begin(next);
        const int status = run(next, &desk);
        if (desk.asked_to_end()) return status;
        auto asked = desk.asked_for();
        while (!asked && idle.wait())
            asked = desk.asked_for();
        if (!asked) return status;
        next = *asked;
    }
}

} // namespace k4sim
