#include "sim/launcher/scenario_file.h"

#include "sim/launcher/options.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace k4sim {

namespace {

constexpr std::size_t size_max = 1024 * 1024;
constexpr int patience_ms = 1000; // until a named pipe has a writer

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
    throw UsageError("scenario " + path + " " + why);
}

class Source {
public:
    // Without waiting, which a named pipe without a writer would do for good.
    explicit Source(const std::string& path)
        : descriptor_(path == "-" ? STDIN_FILENO
                                  : open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {
        if (descriptor_ < 0) refuse(path, reason());
    }
    ~Source() {
        if (descriptor_ != STDIN_FILENO) close(descriptor_);
    }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    // The next piece; empty at the end.
    std::string read(const std::string& path) const {
        std::array<char, 65536> buffer{};
        for (;;) {
            const bool ready = wait();
            const ssize_t count = ::read(descriptor_, buffer.data(), buffer.size());
            if (count < 0 && (errno == EAGAIN || errno == EINTR)) continue;
            if (count < 0) refuse(path, reason());
            if (count == 0 && !ready) refuse(path, "is a pipe that nobody writes to");
            return {buffer.data(), static_cast<std::size_t>(count)};
        }
    }

private:
    static std::string reason() {
        return std::string("can't be read (") + std::strerror(errno) + "); name a TOML file";
    }

    // False when nothing came, which a read without waiting tells the reason of.
    bool wait() const {
        pollfd descriptor{descriptor_, POLLIN, 0};
        return poll(&descriptor, 1, descriptor_ == STDIN_FILENO ? -1 : patience_ms) != 0;
    }

    int descriptor_;
};

} // namespace

std::string read_scenario_file(const std::string& path) {
    const Source source(path);
    std::string text;
    for (;;) {
        const std::string piece = source.read(path);
        if (piece.empty()) return text;
        text += piece;
        if (text.size() > size_max) refuse(path, "is longer than 1 MiB; use fewer steps");
    }
}

} // namespace k4sim
