#include "sim/campaign/time_left.h"

#include <cmath>
#include <cstdio>
#include <unistd.h>

namespace k4sim {

namespace {

std::string duration(double seconds) {
    const auto whole = static_cast<long long>(std::ceil(seconds));
    if (whole < 60) return std::to_string(whole) + " s";
    if (whole < 3600)
        return std::to_string(whole / 60) + " min " + std::to_string(whole % 60) + " s";
    return std::to_string(whole / 3600) + " h " + std::to_string(whole / 60 % 60) + " min";
}

} // namespace

std::string time_left_line(std::size_t done, std::size_t all, std::size_t failed,
                           double elapsed_s) {
    std::string line = std::to_string(done) + " of " + std::to_string(all) + " runs";
    if (failed > 0) line += ", " + std::to_string(failed) + " not as expected";
    if (done == 0) return line;
    const double each = elapsed_s / static_cast<double>(done);
    return line + ", " + duration(each * static_cast<double>(all - done)) + " left";
}

TimeLeft::TimeLeft(std::size_t all) : shown_(isatty(STDERR_FILENO) == 1), all_(all) {}

TimeLeft::~TimeLeft() {
    if (shown_) std::fputs("\r\033[K", stderr);
}

void TimeLeft::one_done(bool as_expected) {
    ++done_;
    if (!as_expected) ++failed_;
    if (!shown_) return;
    const std::chrono::duration<double> elapsed = Clock::now() - begin_;
    std::fprintf(stderr, "\r\033[K%s",
                 time_left_line(done_, all_, failed_, elapsed.count()).c_str());
}

} // namespace k4sim
