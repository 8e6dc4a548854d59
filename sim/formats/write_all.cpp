#include "sim/formats/write_all.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

namespace k4sim {

namespace {

constexpr mode_t new_file_mode = 0666;

} // namespace

bool write_all(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool write_file(const std::string& path, int flags, std::string_view bytes) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, new_file_mode);
    if (file < 0) return false;
    const bool written = write_all(file, bytes);
    const int error = errno;
    if (close(file) != 0) return false;
    errno = error;
    return written;
}

bool write_whole(const std::string& path, std::string_view bytes) {
    const std::string part = path + std::string(part_suffix);
    if (write_file(part, O_TRUNC, bytes) && std::rename(part.c_str(), path.c_str()) == 0)
        return true;
    const int error = errno;
    unlink(part.c_str());
    errno = error;
    return false;
}

} // namespace k4sim
