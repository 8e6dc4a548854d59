// The serial adapters by the calls that a program makes. What a line does with a byte is
// the kernel's answer; when it does is virtual time.
#include "support/boards.h"
#include "support/pseudo_terminal.h"

#include "sim/models/device.h"

#include <cerrno>
#include <cstdlib>
#include <sys/ioctl.h>
#include <sys/select.h>
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

bool has_data(int descriptor, Microseconds patience_us) {
    fd_set reading;
    FD_ZERO(&reading);
    FD_SET(descriptor, &reading);
    timeval patience{0, static_cast<suseconds_t>(patience_us)};
    return select(descriptor + 1, &reading, nullptr, nullptr, &patience) == 1;
}

// All that comes until nothing has come for 0.1 s.
std::string received(int descriptor) {
    std::string text;
    for (char c; has_data(descriptor, 100'000) && read(descriptor, &c, 1) == 1;)
        text += c;
    return text;
}

class SerialLine : public BoardTest {
protected:
    SerialLine() { begin_anew(); }
    ~SerialLine() override { close_both(); }

    // Two new adapters, the first one raw.
    void begin_anew(Change change_of_second = raw, speed_t speed = B9600) {
        close_both();
        use_board(Board::aes);
        first_ = open("/dev/ttyUSB0", O_RDWR);
        second_ = open("/dev/ttyUSB1", O_RDWR);
        set(first_, raw, speed);
        set(second_, change_of_second, speed);
        start_ = machine().now();
    }

    void close_both() const {
        close(first_);
        close(second_);
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

// Settings belong to the device, not to the descriptor.
TEST_F(SerialLine, BeginsLikeANewAdapter) {
    begin_anew([](termios&) {});
    termios settings{};
    const int again = open("/dev/ttyUSB1", O_RDWR | O_CLOEXEC);
    EXPECT_EQ(fcntl(again, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(tcgetattr(again, &settings), 0);
    EXPECT_EQ(settings.c_cflag, unsigned{B9600 | CS8 | CREAD | HUPCL | CLOCAL});
    EXPECT_EQ(settings.c_lflag & (ICANON | ECHO | ISIG), unsigned{ICANON | ECHO | ISIG});
    close(again);
}

TEST_F(SerialLine, AChildHasNoneOfTheKernelsEndsAndNoControllingTerminal) {
    const pid_t child = fork();
    if (child == 0) {
        char name[64];
        for (int descriptor = 0; descriptor < 100; ++descriptor)
            if (ptsname_r(descriptor, name, sizeof name) == 0) _exit(1);
        setsid(); // from now on any terminal would become it
        close(first_);
        _exit(open("/dev/ttyUSB0", O_RDWR) >= 0 && open("/dev/tty", O_RDWR) < 0 ? 0 : 2);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    send(first_, "lives on");
    EXPECT_EQ(received(second_), "lives on");
}

TEST_F(SerialLine, WaitsInVirtualTime) {
    begin_anew(raw, B1200);
    EXPECT_FALSE(has_data(second_, 900'000));
    send(first_, "x");
    pollfd state{second_, POLLIN | POLLOUT, 0};
    EXPECT_EQ(poll(&state, 1, -1), 1);
    EXPECT_EQ(state.revents, POLLOUT);
    state.events = POLLIN;
    EXPECT_EQ(poll(&state, 1, 5), 0);
    EXPECT_EQ(since_start(), 905'000);
    EXPECT_TRUE(has_data(second_, 900'000));
    EXPECT_EQ(since_start(), 908'334);
    fcntl(second_, F_SETFL, O_NONBLOCK);
    char text[2];
    EXPECT_EQ(read(second_, text, 2), 1);
    EXPECT_EQ(read(second_, text, 2), -1);
    EXPECT_EQ(errno, EAGAIN);
}

TEST_F(SerialLine, OutputIsWaitedForAndDropped) {
    begin_anew(raw, B19200);
    const std::string text(96, 'x'); // takes 50 ms
    int counts[2];
    send(first_, text);
    EXPECT_EQ(ioctl(first_, TIOCOUTQ, &counts[0]), 0);
    EXPECT_EQ(tcdrain(first_), 0);
    EXPECT_EQ(since_start(), 50'000);
    EXPECT_EQ(ioctl(second_, FIONREAD, &counts[1]), 0);
    EXPECT_EQ(counts[0], 96);
    EXPECT_EQ(counts[1], 96);
    termios settings{};
    tcgetattr(first_, &settings);
    send(second_, text);
    EXPECT_EQ(tcsetattr(second_, TCSAFLUSH, &settings), 0);
    EXPECT_EQ(since_start(), 100'000);
    EXPECT_FALSE(has_data(second_, 0));
    send(first_, text);
    usleep(25'000);
    EXPECT_EQ(tcflush(first_, TCIOFLUSH), 0);
    EXPECT_EQ(received(second_), text.substr(48));
    EXPECT_FALSE(has_data(first_, 0));
    // The last close drops what was not read, and what comes after it.
    send(first_, text);
    usleep(25'000);
    EXPECT_TRUE(has_data(second_, 0));
    close(second_);
    usleep(12'500);
    second_ = open("/dev/ttyUSB1", O_RDWR);
    EXPECT_EQ(received(second_), text.substr(72));
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
    EXPECT_TRUE(has_data(second_, 0));
    const termios settings{};
    EXPECT_EQ(write(second_, "x", 1), -1);
    EXPECT_EQ(std::exchange(errno, 0), EIO);
    EXPECT_EQ(tcsetattr(second_, TCSANOW, &settings), -1);
    EXPECT_EQ(errno, EIO);
    pollfd state{second_, 0, 0};
    EXPECT_EQ(poll(&state, 1, 0), 1);
    EXPECT_EQ(state.revents, POLLERR | POLLHUP);
    send(first_, "into the void");
    usleep(50'000);
    machine().device().serial()[2].plug();
    const int again = open("/dev/ttyUSB1", O_RDWR);
    EXPECT_EQ(read(second_, &c, 1), 0) << "the old descriptor stays dead";
    set(again, raw);
    send(first_, "alive");
    EXPECT_EQ(received(again), "alive");
    close(again);
}

TEST_F(SerialLine, FaultsStrikeWhereTheySay) {
    for (const auto& [name, value, arrives] :
         {std::tuple{"serial-byte-lost", "3", "abde"}, {"serial-byte-flipped", "1", "`bcde"}}) {
        begin_anew();
        machine().apply_fault({name, value, 0});
        send(first_, "abcde");
        usleep(10'000); // the order on the cable is known
        send(second_, "12345");
        EXPECT_EQ(received(second_) + received(first_), arrives + std::string("12345"));
    }
}

TEST(SerialAdapterModel, SamplesAFrameInTheMiddleOfItsOwnBits) {
    for (unsigned byte = 0; byte < 256; ++byte)
        for (const unsigned receiver : {9600u, 9200u, 10'000u})
            EXPECT_EQ(sampled_byte(static_cast<std::uint8_t>(byte), 9600, receiver), byte);
    // Twice as fast: data bits 2, 4 and 6 are seen, then the stop bit and the idle line.
    EXPECT_EQ(sampled_byte(0b00000000, 19200, 9600), 0b11111000);
    EXPECT_EQ(sampled_byte(0b00010000, 19200, 9600), 0b11111010);
    // Half as fast: the second half of the start bit, each of three bits twice, half a bit.
    EXPECT_EQ(sampled_byte(0b00000101, 9600, 19200), 0b01100110);
    EXPECT_EQ(sampled_byte(0b00001000, 9600, 19200), 0b10000000);
}

} // namespace
