#include "sim/machine/console.h"

#include "sim/machine/report.h"
#include "sim/time/keep_errno.h"
#include "sim/time/unobserved.h"

#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace k4sim {

namespace {

std::function<void(int, std::string_view)>* console_reader = nullptr;

int stream_numbers[] = {0, 1, 2};

// What stdio calls with the content of its buffer.
ssize_t write_stream(void* cookie, const char* data, std::size_t size) {
    const Unobserved unobserved;
    const int stream = *static_cast<int*>(cookie);
    const bool taken = write_fully(stream, {data, size});
    const KeepErrno keep_errno;
    (*console_reader)(stream, {data, size});
    return taken ? static_cast<ssize_t>(size) : 0;
}

std::FILE* make_stream(int number, int buffering) {
    cookie_io_functions_t functions{};
    functions.write = write_stream;
    std::FILE* stream = fopencookie(&stream_numbers[number], "w", functions);
    if (stream != nullptr) setvbuf(stream, nullptr, buffering, BUFSIZ);
    return stream;
}

} // namespace

void capture_console(std::function<void(int stream, std::string_view text)> reader) {
    console_reader = new std::function<void(int, std::string_view)>(std::move(reader));
    if (std::FILE* stream = make_stream(1, isatty(1) != 0 ? _IOLBF : _IOFBF)) stdout = stream;
    if (std::FILE* stream = make_stream(2, _IONBF)) stderr = stream;
}

void report_console(int descriptor, const void* data, std::size_t size, ssize_t written) {
    if (console_reader == nullptr || (descriptor != 1 && descriptor != 2)) return;
    const bool lost = written < 0 && (errno == ENOSPC || errno == EIO || errno == EPIPE);
    if (written <= 0 && !lost) return;
    const Unobserved unobserved;
    const KeepErrno keep_errno;
    (*console_reader)(descriptor, {static_cast<const char*>(data),
                                   lost ? size : static_cast<std::size_t>(written)});
}

void LineAssembler::add(std::string_view text, const Reader& reader) {
    for (const char c : text) {
        if (c != '\n' && c != '\r') {
            line_ += c;
            continue;
        }
        const std::string line = std::move(line_);
        line_.clear();
        if (!line.empty()) reader(line);
    }
}

} // namespace k4sim
