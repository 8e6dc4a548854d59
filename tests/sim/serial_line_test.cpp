// The serial adapters by the calls that a program makes. What a line does with a byte is
// the kernel's answer; when it does is virtual time.
#include "support/boards.h"
#include "support/pseudo_terminal.h"

#include "sim/models/device.h"

#include <cerrno>
#include <cstdlib>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <thread>

using namespace k4sim;

namespace {

using Change = void (*)(termios&);

void raw(termios& settings) { cfmakeraw(&settings); }

void set(int descriptor, Change change, speed_t speed = B9600) {
    termios settings{};
    EXPECT_EQ(tcgetattr(descriptor, &settings), 0);
    change(settings);
    cfsetspeed(&settings, speed);
    EXPECT_EQ(tcsetattr(descriptor, TCSANOW, &settings), 0);
}

void send(int descriptor, std::string_view text) {
    EXPECT_EQ(write(descriptor, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

bool has_data(int descriptor, int patience_ms) {
    pollfd state{descriptor, POLLIN, 0};
    return poll(&state, 1, patience_ms) == 1;
}

// All that comes until nothing has come for 0.1 s.
std::string received(int descriptor) {
    std::string text;
    for (char c; has_data(descriptor, 100) && read(descriptor, &c, 1) == 1;)
        text += c;
    return text;
}

class SerialLine : public BoardTest {
protected:
    SerialLine() { begin_anew(); }
    ~SerialLine() override {
        close(first_);
        close(second_);
    }

    // Two new adapters, the first one raw.
    void begin_anew(Change change_of_second = raw, speed_t speed = B9600) {
        use_board(Board::aes);
        for (int* line : {&first_, &second_}) {
            close(*line);
            *line = open(line == &first_ ? "/dev/ttyUSB0" : "/dev/ttyUSB1", O_RDWR);
        }
        set(first_, raw, speed);
        set(second_, change_of_second, speed);
        start_ = machine().now();
    }

    Microseconds since_start() const { return machine().now() - start_; }

    int first_ = -1;
    int second_ = -1;
    Microseconds start_ = 0;
};

// As a pseudo-terminal of the kernel does with the same settings.
TEST_F(SerialLine, ASideMakesOfBytesWhatTheKernelDoes) {
    const Change changes[] = {
        raw,
        [](termios&) {}, // as it is
        [](termios& settings) { settings.c_lflag &= ~unsigned(ECHO); },
        [](termios& settings) { settings.c_lflag &= ~unsigned(ICANON); },
        [](termios& settings) { settings.c_iflag |= ISTRIP | IGNCR; },
    };
    const std::string_view texts[] = {"ab", "ab\r", "a\x7f\n", "a\nb\nc",
                                      std::string_view("a\r\n\x04\x13\x11\0\x80\xFF\n", 10)};
    for (const Change change : changes)
        for (const std::string_view text : texts) {
            SCOPED_TRACE(std::to_string(&change - changes) + testing::PrintToString(text));
            begin_anew(change);
            const PseudoTerminal kernel;
            const int side = open(kernel.path().c_str(), O_RDWR | O_NOCTTY);
            set(side, change);
            send(first_, text);
            kernel.give(text);
            EXPECT_EQ(received(second_), received(side));
            EXPECT_EQ(received(first_), kernel.take());
            send(second_, text);
            send(side, text);
            EXPECT_EQ(received(first_), kernel.take());
            close(side);
        }
}

// Although the program reads nothing.
TEST_F(SerialLine, StopsAndGoesOnAsTheOtherSideSays) {
    begin_anew([](termios& settings) {
        raw(settings);
        settings.c_iflag |= IXON;
    });
    send(first_, "\x13");
    usleep(5000);
    const std::jthread writer([this] { send(second_, "x"); }); // which waits
    EXPECT_EQ(received(first_), "");
    send(first_, "\x11");
    EXPECT_EQ(received(first_), "x");
}

TEST_F(SerialLine, AChildOfAForkHasNeitherThreadsNorLinesOfItsParent) {
    const std::jthread other([] { usleep(500); });
    const pid_t child = fork();
    if (child == 0) {
        usleep(1000);
        char name[64];
        for (int descriptor = 0; descriptor < 100; ++descriptor)
            if (ptsname_r(descriptor, name, sizeof name) == 0) _exit(1); // the kernel's end
        setsid(); // from now on any terminal would become the controlling one
        _exit(open("/dev/ttyUSB0", O_RDWR) >= 0 && open("/dev/tty", O_RDWR) < 0 ? 0 : 2);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST_F(SerialLine, WaitsInVirtualTime) {
    begin_anew(raw, B1200);
    EXPECT_FALSE(has_data(second_, 900));
    EXPECT_EQ(since_start(), 900'000);
    send(first_, "x");
    pollfd state{second_, POLLIN | POLLOUT, 0};
    EXPECT_EQ(poll(&state, 1, -1), 1);
    EXPECT_EQ(state.revents, POLLOUT);
    EXPECT_TRUE(has_data(second_, 900));
    EXPECT_EQ(since_start(), 908'334);
    fcntl(second_, F_SETFL, O_NONBLOCK);
    char text[2];
    EXPECT_EQ(read(second_, text, 2), 1);
    EXPECT_EQ(read(second_, text, 2), -1);
    EXPECT_EQ(errno, EAGAIN);
    set(second_, raw, B9600);
    send(first_, "xyz");
    EXPECT_EQ(tcsetattr(first_, TCSAFLUSH, std::make_unique<termios>().get()), 0); // waits
    EXPECT_EQ(since_start(), 908'334 + 25'000);
    EXPECT_EQ(count_events("serial", "speed-mismatch"), 1);
    set(first_, raw, B1200);
    send(first_, "x");
    usleep(8000); // nearly all of it
    machine().apply_fault({"serial-speed-wrong", "1", 0});
    EXPECT_EQ(tcflush(second_, TCIFLUSH), 0);
    EXPECT_TRUE(has_data(second_, 900)); // begun anew, at half the speed
    EXPECT_EQ(since_start(), 908'334 + 25'000 + 8'000 + 16'667);
}

TEST_F(SerialLine, AFullTransmitterMakesAWriteWait) {
    begin_anew(raw, B115200);
    send(first_, std::string(5000, 'x'));
    EXPECT_NEAR(static_cast<double>(since_start()), (5000 - 4096) * 1e7 / 115200, 100);
    // Nobody reads: what is too much for the line discipline is lost, and said so.
    usleep(500'000);
    EXPECT_EQ(received(second_).size(), 4095u);
    EXPECT_EQ(count_events("serial", "overrun"), 5000 - 4095);
}

TEST_F(SerialLine, APulledOutAdapterHangsUp) {
    const std::jthread somebody([] {
        usleep(5000);
        machine().apply_fault({"serial-absent", "2", 0});
    });
    char c = 0;
    EXPECT_EQ(read(second_, &c, 1), 0) << "a read that waits";
    EXPECT_EQ(since_start(), 5000);
    EXPECT_EQ(write(second_, "x", 1), -1);
    EXPECT_EQ(errno, EIO);
    pollfd state{second_, 0, 0};
    EXPECT_EQ(poll(&state, 1, 0), 1);
    EXPECT_EQ(state.revents, POLLERR | POLLHUP);
    machine().device().serial()[2].plug();
    EXPECT_EQ(read(second_, &c, 1), 0) << "the old descriptor stays dead";
}

} // namespace
