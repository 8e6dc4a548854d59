#include "baselib/device/lxtermios.h"

#include <array>

namespace {

struct Speed {
    int baud;
    int constant;
};

constexpr std::array<Speed, 6> speeds{{
    {1200, B1200},
    {2400, B2400},
    {4800, B4800},
    {9600, B9600},
    {19200, B19200},
    {38400, B38400},
}};

} // namespace

KLTlxTermios::KLTlxTermios(int fd) { query(fd); }

int KLTlxTermios::query(int fd) {
    settings_ = {};
    return tcgetattr(fd, &settings_);
}

int KLTlxTermios::apply(int fd, int when) const { return tcsetattr(fd, when, &settings_); }

int KLTlxTermios::baud(int which, int speedConstant) {
    const auto speed = static_cast<speed_t>(speedConstant);
    if ((which & outputSpeed) != 0) {
        const int result = cfsetospeed(&settings_, speed);
        if (result != 0) return result;
    }
    return (which & inputSpeed) != 0 ? cfsetispeed(&settings_, speed) : 0;
}

void KLTlxTermios::setRaw() { cfmakeraw(&settings_); }

bool KLTlxTermios::hwFlowControl() const { return (settings_.c_cflag & CLOCAL) == 0; }

void KLTlxTermios::hwFlowControl(bool on) {
    if (on)
        settings_.c_cflag &= ~static_cast<tcflag_t>(CLOCAL);
    else
        settings_.c_cflag |= CLOCAL;
}

int KLTlxTermios::baudToC(int baud) {
    for (const Speed& speed : speeds)
        if (speed.baud == baud) return speed.constant;
    return unknownSpeed;
}

int KLTlxTermios::baudFromC(int constant) {
    for (const Speed& speed : speeds)
        if (speed.constant == constant) return speed.baud;
    return unknownSpeed;
}
