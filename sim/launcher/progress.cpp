#include "sim/launcher/progress.h"

#include "sim/formats/write_all.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace k4sim {

namespace {

using namespace std::chrono_literals;

constexpr auto between_two = 100ms;
constexpr int least_rows = 4;
constexpr int least_columns = 40;
constexpr std::size_t short_name = 3;

// Of a terminal as of the VT100 on. Each change is one write, so that it goes between two of the
// program.
constexpr std::string_view save_cursor = "\0337";
constexpr std::string_view restore_cursor = "\0338";
constexpr std::string_view whole_screen_scrolls = "\033[r";
constexpr std::string_view no_attributes = "\033[m";
constexpr std::string_view erase_line = "\033[2K";
constexpr std::string_view erase_below = "\033[J";
constexpr std::string_view down_and_up = "\033D\033M"; // scrolls when there is no row below

std::string to_row(int row) { return "\033[" + std::to_string(row) + ";1H"; }
std::string rows_scroll(int rows) { return "\033[1;" + std::to_string(rows) + "r"; }

bool can_be_drawn_on() {
    const char* const kind = std::getenv("TERM");
    return isatty(STDERR_FILENO) == 1 && kind != nullptr && std::string_view(kind) != "dumb";
}

// Also where the terminal controls nobody.
bool in_foreground() {
    const pid_t group = tcgetpgrp(STDERR_FILENO);
    return group < 0 || group == getpgrp();
}

// How long a text may be, so that all take no more than `room`.
std::size_t longest_text(const Observation& seen, std::size_t room) {
    const auto taken = [&](std::size_t longest) {
        std::size_t sum = 0;
        for (const Observation::Row& row : seen.rows)
            sum += std::min(row.status().size(), longest);
        return sum;
    };
    std::size_t longest = room;
    while (longest > 0 && taken(longest) > room)
        --longest;
    return longest;
}

std::string line_with(const std::string& time, const Observation& seen, std::size_t name,
                      std::size_t text) {
    std::string line = time;
    for (const Observation::Row& row : seen.rows)
        if (!row.label.empty())
            line += "  " + row.label.substr(0, name) + " " + row.status().substr(0, text);
    return line;
}

} // namespace

std::string progress_line(Microseconds virtual_now, const Observation& seen, int columns) {
    std::array<char, 40> time{};
    std::snprintf(time.data(), time.size(), "%.1f s", static_cast<double>(virtual_now) / 1e6);
    const auto width = static_cast<std::size_t>(columns);
    std::string line = line_with(time.data(), seen, std::string::npos, std::string::npos);
    if (line.size() <= width) return line;
    const std::size_t names = line_with(time.data(), seen, short_name, 0).size();
    const std::size_t room = width - std::min(width, names);
    return line_with(time.data(), seen, short_name, longest_text(seen, room)).substr(0, width);
}

Progress::Progress(bool wanted, std::optional<double> pace)
    : wanted_(wanted && can_be_drawn_on()), pace_(pace.value_or(0)), last_event_(Clock::now()) {}

Progress::~Progress() { give_back(); }

int Progress::patience_ms() const {
    if (!wanted_) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(due_ - Clock::now());
    return static_cast<int>(std::max(left, 0ms).count());
}

void Progress::look(const Observation& seen) {
    if (!wanted_) return;
    const Clock::time_point now = Clock::now();
    const Microseconds virtual_us = virtual_now(seen, now);
    if (now < due_) return;
    due_ = now + between_two;
    const Size size = in_foreground() ? size_of_terminal() : Size{};
    if (size != size_) {
        give_back();
        take_row(size);
    }
    if (size_.rows == 0) return;
    std::string change(save_cursor);
    change.append(to_row(size.rows)).append(no_attributes).append(erase_line);
    change.append(progress_line(virtual_us, seen, size.columns - 1)).append(restore_cursor);
    wanted_ = write_all(STDERR_FILENO, change);
}

// None when it is too small for the line.
Progress::Size Progress::size_of_terminal() {
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row < least_rows ||
        size.ws_col < least_columns)
        return {};
    return {size.ws_row, size.ws_col};
}

Microseconds Progress::virtual_now(const Observation& seen, Clock::time_point now) {
    if (seen.duration_us != last_event_us_) last_event_ = now;
    last_event_us_ = seen.duration_us;
    const std::chrono::duration<double, std::micro> since = now - last_event_;
    return last_event_us_ + static_cast<Microseconds>(since.count() * pace_);
}

void Progress::take_row(Size size) {
    size_ = size;
    if (size.rows == 0) return;
    std::string change(down_and_up);
    change.append(save_cursor).append(rows_scroll(size.rows - 1)).append(restore_cursor);
    wanted_ = write_all(STDERR_FILENO, change);
}

// Below the cursor there is nothing but the line, wherever a change of size has moved it.
void Progress::give_back() {
    if (size_.rows == 0) return;
    size_ = {};
    std::string change(save_cursor);
    change.append(whole_screen_scrolls).append(restore_cursor).append(erase_below);
    wanted_ = write_all(STDERR_FILENO, change);
}

} // namespace k4sim
