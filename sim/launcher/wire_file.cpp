#include "sim/launcher/wire_file.h"

#include "sim/formats/write_all.h"
#include "sim/launcher/options.h"
#include "sim/models/wires.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace k4sim {

namespace {

constexpr mode_t dump_mode = 0666;

// A pipe whose reader goes would take the program along.
bool is_plain_file(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

WireFile::WireFile(const std::string& path, Board board) {
    if (path.empty()) return;
    const auto refuse = [&](const std::string& why) {
        if (descriptor_ >= 0) close(descriptor_);
        throw UsageError("--vcd: " + path + " " + why + "; name another file");
    };
    descriptor_ = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, dump_mode);
    if (descriptor_ < 0) refuse(std::string("can't be written (") + std::strerror(errno) + ")");
    if (!is_plain_file(descriptor_)) refuse("is no plain file");
    if (ftruncate(descriptor_, 0) != 0 || !write_all(descriptor_, vcd_header(board)))
        refuse(std::string("can't be written (") + std::strerror(errno) + ")");
}

WireFile::~WireFile() {
    if (descriptor_ >= 0) close(descriptor_);
}

} // namespace k4sim
