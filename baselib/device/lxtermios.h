#pragma once
// The line settings of a terminal device.

#include <termios.h>

// A copy of a device's settings: query() fetches it, the setters change the copy, apply()
// writes it back. Results are those of the C library: 0, or -1 with errno set.
class KLTlxTermios {
public:
    // Bits of baud()'s first argument.
    static constexpr int outputSpeed = 1;
    static constexpr int inputSpeed = 2;

    static constexpr int unknownSpeed = -1;

    // The settings of an open device; all zero for a descriptor of -1 or one that is no
    // terminal.
    explicit KLTlxTermios(int fd);

    int query(int fd);

    // when: TCSANOW (0), TCSADRAIN or TCSAFLUSH.
    int apply(int fd, int when) const;

    // Sets the speeds that `which` names to a constant such as B19200. The result of the
    // first that fails, else 0.
    int baud(int which, int speedConstant);

    // No line editing, no echo, no signals, no translation, 8 bits, one byte at a time.
    void setRaw();

    // The modem control lines: on when CLOCAL is clear. CRTSCTS is not looked at.
    bool hwFlowControl() const;
    void hwFlowControl(bool on);

    // 1200, 2400, 4800, 9600, 19200 and 38400 baud and their constants (B1200 ...);
    // unknownSpeed for any other value.
    static int baudToC(int baud);
    static int baudFromC(int constant);

    const termios& settings() const { return settings_; }

private:
    termios settings_{};
};
