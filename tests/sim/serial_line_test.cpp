// The serial adapters by the calls that a program makes. What a line does with a byte is
// the kernel's answer; when it does is virtual time.
#include "sim/machine/machine.h"
#include "sim/models/device.h"

#include "program_threads.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

using namespace k4sim;

namespace {

using Change = void (*)(termios&);

void make_raw(termios& settings) { cfmakeraw(&settings); }

class SerialLine : public testing::Test {
protected:
    SerialLine() { begin_anew(); }
    ~SerialLine() override {
        close(first_);
        close(second_);
        machine().reset();
    }

    void begin_anew() {
        close(first_);
        close(second_);
        machine().reset();
        machine().clear_events();
        first_ = open("/dev/ttyUSB0", O_RDWR);
        second_ = open("/dev/ttyUSB1", O_RDWR);
        EXPECT_GE(first_, 0);
        EXPECT_GE(second_, 0);
    }

    static void set(int descriptor, Change change, speed_t speed = B9600) {
        termios settings{};
        EXPECT_EQ(tcgetattr(descriptor, &settings), 0);
        change(settings);
        cfsetspeed(&settings, speed);
        EXPECT_EQ(tcsetattr(descriptor, TCSANOW, &settings), 0);
    }
    void set_both_raw(speed_t speed = B9600) {
        set(first_, make_raw, speed);
        set(second_, make_raw, speed);
    }

    static void send(int descriptor, std::string_view text) {
        EXPECT_EQ(write(descriptor, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    static bool has_data(int descriptor, Microseconds patience_us) {
        fd_set reading;
        FD_ZERO(&reading);
        FD_SET(descriptor, &reading);
        timeval patience{0, static_cast<suseconds_t>(patience_us)};
        return select(descriptor + 1, &reading, nullptr, nullptr, &patience) == 1;
    }

    // All that comes until nothing has come for 0.1 s.
    static std::string received(int descriptor) {
        std::string text;
        char piece[100];
        while (has_data(descriptor, 100'000)) {
            const ssize_t count = read(descriptor, piece, sizeof piece);
            if (count <= 0) break;
            text.append(piece, static_cast<std::size_t>(count));
        }
        return text;
    }

    static int count_events(std::string_view what) {
        int count = 0;
        for (const Event& event : machine().events())
            count += event.source == "serial" && event.what == what;
        return count;
    }

    static bool opens(char number) {
        const int descriptor = open((std::string("/dev/ttyUSB") + number).c_str(), O_RDWR);
        if (descriptor >= 0) close(descriptor);
        return descriptor >= 0;
    }

    static void apply(const char* name, const char* value) {
        machine().apply_fault({name, value, 0});
    }

    int first_ = -1;
    int second_ = -1;
};

TEST_F(SerialLine, TextCrossesTheCableAtTheSetSpeed) {
    const struct {
        speed_t constant;
        int baud;
    } speeds[] = {{B1200, 1200}, {B19200, 19200}, {B38400, 38400}, {B115200, 115200}};
    for (const auto& [constant, baud] : speeds) {
        set_both_raw(constant);
        const std::string text = "The quick brown fox jumps over the lazy dog 0123456789";
        const Microseconds start = machine().now();
        send(first_, text);
        EXPECT_EQ(machine().now(), start) << "a write waits for nothing";
        for (std::size_t i = 0; i < text.size(); ++i) {
            char c = 0;
            ASSERT_EQ(read(second_, &c, 1), 1);
            EXPECT_EQ(c, text[i]);
            const std::int64_t bits = 10 * static_cast<std::int64_t>(i + 1);
            ASSERT_EQ(machine().now(), start + (bits * 1'000'000 + baud - 1) / baud) << baud;
        }
        EXPECT_FALSE(has_data(second_, 10'000));
        EXPECT_FALSE(has_data(first_, 0)) << "nothing comes back";
    }
}

TEST_F(SerialLine, TheKernelJudgesWhatASideMakesOfBytes) {
    const Change as_it_is = [](termios&) {};
    const std::string_view every_kind("a\r\n\x03\x04\x11\x13\x1a\0\x7F\x80\xFF", 12);
    const struct {
        const char* name;
        Change sender, receiver;
        std::string_view sent, received, echoed;
    } cases[] = {
        {"raw", make_raw, make_raw, every_kind, every_kind, ""},
        {"cooked input", make_raw, as_it_is, "ab\r", "ab\n", "ab\r\n"},
        {"half a line", make_raw, as_it_is, "ab", "", "ab"},
        {"an erased character", make_raw, as_it_is,
         "ab\x7f"
         "c\n",
         "ac\n", "ab\b \bc\r\n"},
        {"cooked output", [](termios& settings) { settings.c_lflag &= ~unsigned(ECHO); }, make_raw,
         "x\ny", "x\r\ny", ""},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.name);
        begin_anew();
        set(first_, one.sender);
        set(second_, one.receiver);
        send(first_, one.sent);
        EXPECT_EQ(received(second_), one.received);
        EXPECT_EQ(received(first_), one.echoed);
    }
}

TEST_F(SerialLine, BeginsLikeANewAdapterAndIsNobodysControllingTerminal) {
    termios settings{};
    EXPECT_EQ(tcgetattr(first_, &settings), 0);
    EXPECT_EQ(settings.c_cflag, unsigned{B9600 | CS8 | CREAD | HUPCL | CLOCAL});
    EXPECT_EQ(settings.c_lflag & (ICANON | ECHO | ISIG), unsigned{ICANON | ECHO | ISIG});
    const pid_t child = fork();
    if (child == 0) {
        setsid(); // from now on any terminal would become it
        close(first_);
        const bool opened = open("/dev/ttyUSB0", O_RDWR) >= 0;
        _exit(opened && open("/dev/tty", O_RDWR) < 0 ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    // Settings belong to the device, not to the descriptor.
    set(first_, make_raw, B38400);
    const int again = open("/dev/ttyUSB0", O_RDWR | O_CLOEXEC);
    EXPECT_EQ(fcntl(again, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(tcgetattr(again, &settings), 0);
    EXPECT_EQ(cfgetispeed(&settings), speed_t{B38400});
    close(again);
}

TEST_F(SerialLine, WaitsInVirtualTime) {
    set_both_raw(B1200);
    const Microseconds start = machine().now();
    EXPECT_FALSE(has_data(second_, 900'000));
    EXPECT_EQ(machine().now(), start + 900'000);
    send(first_, "x");
    pollfd state{second_, POLLIN | POLLOUT, 0};
    EXPECT_EQ(poll(&state, 1, -1), 1);
    EXPECT_EQ(state.revents, POLLOUT);
    EXPECT_TRUE(has_data(second_, 900'000));
    EXPECT_EQ(machine().now(), start + 900'000 + 8334);
    fcntl(second_, F_SETFL, O_NONBLOCK);
    char text[2];
    EXPECT_EQ(read(second_, text, 2), 1);
    EXPECT_EQ(read(second_, text, 2), -1);
    EXPECT_EQ(errno, EAGAIN);
}

TEST_F(SerialLine, OutputIsWaitedForAndDropped) {
    set_both_raw(B19200);
    const std::string text(96, 'x'); // takes 50 ms
    const Microseconds start = machine().now();
    int count = 0;
    send(first_, text);
    EXPECT_EQ(ioctl(first_, TIOCOUTQ, &count), 0);
    EXPECT_EQ(count, 96);
    EXPECT_EQ(tcdrain(first_), 0);
    EXPECT_EQ(machine().now(), start + 50'000);
    EXPECT_EQ(ioctl(second_, FIONREAD, &count), 0);
    EXPECT_EQ(count, 96);

    termios settings{};
    tcgetattr(first_, &settings);
    EXPECT_TRUE(has_data(second_, 0));
    EXPECT_EQ(tcsetattr(second_, TCSAFLUSH, &settings), 0);
    EXPECT_FALSE(has_data(second_, 0));
    send(first_, text);
    usleep(25'000);
    EXPECT_EQ(tcflush(first_, TCOFLUSH), 0);
    EXPECT_EQ(received(second_), text.substr(48));

    // The last close drops what was not read, and what comes after it.
    send(first_, text);
    usleep(12'500);
    EXPECT_TRUE(has_data(second_, 0));
    usleep(12'500);
    close(second_);
    usleep(12'500);
    second_ = open("/dev/ttyUSB1", O_RDWR);
    EXPECT_EQ(received(second_), text.substr(72));
}

TEST_F(SerialLine, AFullTransmitterMakesAWriteWait) {
    set_both_raw(B115200);
    const std::string text(5000, 'x');
    const Microseconds start = machine().now();
    send(first_, text);
    EXPECT_NEAR(static_cast<double>(machine().now() - start), (5000 - 4096) * 1e7 / 115200, 100);
    // Nobody reads: what is too much for the line discipline is lost, and said so.
    usleep(500'000);
    EXPECT_EQ(received(second_).size(), 4095u);
    EXPECT_EQ(count_events("overrun"), 5000 - 4095);
}

TEST_F(SerialLine, APulledOutAdapterHangsUp) {
    set_both_raw();
    const Microseconds start = machine().now();
    const ProgramThread somebody([] {
        usleep(5000);
        apply("serial-absent", "2");
    });
    char c = 0;
    EXPECT_EQ(read(second_, &c, 1), 0) << "a read that waits";
    EXPECT_EQ(machine().now(), start + 5000);
    EXPECT_TRUE(has_data(second_, 0));
    EXPECT_EQ(write(second_, "x", 1), -1);
    EXPECT_EQ(errno, EIO);
    pollfd state{second_, 0, 0};
    EXPECT_EQ(poll(&state, 1, 0), 1);
    EXPECT_EQ(state.revents, POLLERR | POLLHUP);
    EXPECT_EQ(open("/dev/ttyUSB1", O_RDWR), -1);
    EXPECT_EQ(errno, ENOENT);
    send(first_, "into the void");
    usleep(50'000);

    machine().device().serial()[2].plug();
    const int again = open("/dev/ttyUSB1", O_RDWR);
    EXPECT_EQ(read(second_, &c, 1), 0) << "the old descriptor stays dead";
    set(again, make_raw);
    send(first_, "alive");
    EXPECT_EQ(received(again), "alive");
    close(again);
}

TEST_F(SerialLine, CableAndByteFaultsStrikeWhereTheySay) {
    const struct {
        const char *name, *value;
        std::string_view at_first, at_second;
    } cases[] = {
        {"serial-byte-lost", "3", "12345", "abde"},
        {"serial-byte-flipped", "1", "12345", "`bcde"},
        {"serial-cable", "looped", "abcde", "12345"},
        {"serial-cable", "none", "", ""},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.name);
        begin_anew();
        set_both_raw();
        apply(one.name, one.value);
        send(first_, "abcde");
        usleep(10'000); // the order on the cable is known
        send(second_, "12345");
        EXPECT_EQ(received(second_), one.at_second);
        EXPECT_EQ(received(first_), one.at_first);
    }
}

// Where both would have one number, the later takes the next free one.
TEST_F(SerialLine, AdaptersAreFoundByTheirNumbers) {
    const struct {
        const char *first, *second; // null: as it is
        std::string present;        // the numbers
    } cases[] = {{nullptr, nullptr, "01"},
                 {"1", nullptr, "01"},
                 {"5", "3", "35"},
                 {nullptr, "0", "01"},
                 {"0", "1", "01"}};
    for (const auto& one : cases) {
        machine().reset();
        if (one.first != nullptr) apply("serial-first-number", one.first);
        if (one.second != nullptr) apply("serial-second-number", one.second);
        std::string present;
        for (char number = '0'; number <= '9'; ++number)
            if (opens(number)) present += number;
        EXPECT_EQ(present, one.present);
    }
}

// Masters among the open descriptors; with `inherited`, those that exec leaves open.
int open_masters(bool inherited) {
    int masters = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;
        if (std::filesystem::read_symlink(entry, ignored).filename() != "ptmx") continue;
        const int flags = fcntl(std::stoi(entry.path().filename()), F_GETFD);
        masters += !inherited || (flags & FD_CLOEXEC) == 0;
    }
    return masters;
}

TEST_F(SerialLine, NoProcessInheritsAMasterAndNoneStaysOpen) {
    EXPECT_EQ(open_masters(false), 2);
    EXPECT_EQ(open_masters(true), 0);
    const pid_t child = fork();
    if (child == 0) _exit(open_masters(false));
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    set_both_raw();
    send(first_, "the parent's line lives on");
    EXPECT_EQ(received(second_), "the parent's line lives on");
    machine().reset();
    EXPECT_EQ(open_masters(false), 0);
}

TEST(SerialAdapterModel, SamplesAFrameInTheMiddleOfItsOwnBits) {
    for (unsigned byte = 0; byte < 256; ++byte)
        for (const unsigned receiver : {9600u, 9200u, 10'000u})
            EXPECT_EQ(sampled_byte(static_cast<std::uint8_t>(byte), 9600, receiver), byte);
    const struct {
        std::uint8_t sent;
        unsigned sender, receiver;
        std::uint8_t received;
    } cases[] = {
        // Twice as fast: data bits 2, 4 and 6 are seen, then the stop bit and the idle line.
        {0b00000000, 19200, 9600, 0b11111000},
        {0b00010000, 19200, 9600, 0b11111010},
        // Half as fast: the second half of the start bit, each of three bits twice, half a bit.
        {0b00000101, 9600, 19200, 0b01100110},
        {0b00001000, 9600, 19200, 0b10000000},
    };
    for (const auto& [sent, sender, receiver, received] : cases)
        EXPECT_EQ(sampled_byte(sent, sender, receiver), received) << int{sent};
}

} // namespace
