// The unit on real pseudo-terminals, which stand behind the names that it opens.
#include "app/usb_test.h"

#include "unit_run.h"

#include <cstdlib>
#include <fcntl.h>
#include <map>
#include <memory>
#include <mutex>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr k4sim::Microseconds second_us = 1'000'000;

// The far end of an adapter.
class Adapter {
public:
    Adapter() : master_(posix_openpt(O_RDWR | O_NOCTTY)) {
        EXPECT_EQ(grantpt(master_), 0);
        EXPECT_EQ(unlockpt(master_), 0);
    }
    ~Adapter() { close(master_); }
    Adapter(const Adapter&) = delete;
    Adapter& operator=(const Adapter&) = delete;

    std::string path() const { return ptsname(master_); }

    // As the line is set now.
    termios line() const {
        termios settings{};
        EXPECT_EQ(tcgetattr(master_, &settings), 0);
        return settings;
    }

    std::string take() const {
        pollfd waiting{master_, POLLIN, 0};
        char data[256];
        if (::poll(&waiting, 1, 0) != 1 || (waiting.revents & POLLIN) == 0) return {};
        const ssize_t count = read(master_, data, sizeof data);
        return {data, count > 0 ? static_cast<std::size_t>(count) : 0};
    }
    void give(const std::string& text) const {
        EXPECT_EQ(write(master_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

private:
    int master_;
};

// What stands behind the names.
class Bus {
public:
    void plug(const std::string& name, const std::string& path) {
        const std::lock_guard hold(mutex_);
        paths_[name] = path;
    }
    // The path behind the name, or "".
    std::string open(const std::string& name) {
        const std::lock_guard hold(mutex_);
        return paths_[name];
    }

private:
    std::mutex mutex_;
    std::map<std::string, std::string> paths_;
} bus;

} // namespace

extern "C" bool __real__ZN10KLTlxIOdev4openEPKc(KLTlxIOdev* device, const char* path);

// In place of KLTlxIOdev::open in this program.
extern "C" bool __wrap__ZN10KLTlxIOdev4openEPKc(KLTlxIOdev* device, const char* path) {
    const std::string behind = bus.open(path);
    return __real__ZN10KLTlxIOdev4openEPKc(device, behind.c_str());
}

namespace {

class Usb : public UnitRun {
protected:
    Usb() {
        unit.init();
        plug(0);
        plug(1);
        EXPECT_EQ(unit.start(true), 0);
    }
    ~Usb() noexcept override {}

    void plug(int index) {
        adapters[index] = std::make_unique<Adapter>();
        bus.plug("/dev/ttyUSB" + std::to_string(3 + index), adapters[index]->path());
    }

    // Carries what each adapter sent to the other, or back.
    void carry() {
        const std::string texts[] = {adapters[0]->take(), adapters[1]->take()};
        for (int index = 0; index < 2; ++index) {
            sent[index] += texts[index];
            adapters[index]->give(texts[crossed ? 1 - index : index]);
        }
    }
    testing::AssertionResult reaches(const char* status, k4sim::Microseconds patience_us) {
        return shows(unit, status, patience_us, [this] { carry(); });
    }

    std::unique_ptr<Adapter> adapters[2];
    bool crossed = true;
    std::string sent[2];
    K4STusb unit; // goes first: its devices are open
};

TEST_F(Usb, PassesAfterAHundredRounds) {
    for (const bool cable : {true, false}) {
        crossed = cable;
        EXPECT_TRUE(reaches("In progress: 1", 10 * second_us));
        for (const auto& adapter : adapters) {
            const termios line = adapter->line();
            EXPECT_EQ(cfgetispeed(&line), static_cast<speed_t>(B19200));
            EXPECT_EQ(cfgetospeed(&line), static_cast<speed_t>(B19200));
            EXPECT_EQ(line.c_lflag & (ICANON | ECHO | ISIG), 0U);
            EXPECT_EQ(line.c_oflag & OPOST, 0U);
        }
        EXPECT_TRUE(reaches("In progress: 99", 60 * second_us));
        EXPECT_TRUE(reaches("OK", second_us));
        unit.waitend();
        EXPECT_EQ(characters(unit.info()), "OK");
        EXPECT_EQ(sent[0], sent[1]);
        EXPECT_GE(sent[0].size(), 100U * 50);
        EXPECT_LE(sent[0].size(), 100U * 100);
        EXPECT_EQ(sent[0].find_first_not_of("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                            "abcdefghijklmnopqrstuvwxyz"),
                  std::string::npos);
        sent[0].clear();
        sent[1].clear();
        unit.init();
        ASSERT_EQ(unit.start(true), 0);
    }
}

TEST_F(Usb, AdapterThatIsPulledStartsTheCountAgain) {
    ASSERT_TRUE(reaches("In progress: 5", 10 * second_us));
    KLFptdelay(second_us); // the next text has been sent
    bus.plug("/dev/ttyUSB4", "");
    adapters[1].reset();
    EXPECT_TRUE(shows(unit, "Missing USBs: 1", second_us));
    plug(1);
    adapters[0]->take();
    EXPECT_TRUE(shows(unit, "In progress: 0", 3 * second_us));
    EXPECT_TRUE(reaches("In progress: 3", 3 * second_us));
}

// That is what an adapter gets where standard input is closed, and it can't be worked on.
TEST_F(Usb, EndsWhereAnAdapterGetsDescriptor0) {
    unit.start(false);
    unit.waitend();
    testing::internal::CaptureStdout();
    const int input = dup(0);
    close(0);
    {
        K4STusb another;
        another.init();
        EXPECT_EQ(another.start(true), 0);
        EXPECT_TRUE(shows(another, "Not running", second_us));
    }
    if (input >= 0) {
        dup2(input, 0);
        close(input);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "USB-0: Opened /dev/ttyUSB3\nCannot enable blocking mode, error -1\n");
}

TEST_F(Usb, LineEndsAreNotPartOfTheTextButOtherBytesAre) {
    ASSERT_TRUE(reaches("In progress: 5", 10 * second_us));
    adapters[0]->give("\n\n");
    EXPECT_TRUE(reaches("In progress: 20", 10 * second_us));
    adapters[0]->give("?");
    KLFptdelay(second_us);
    const std::string stuck = characters(unit.info());
    EXPECT_FALSE(reaches("OK", 10 * second_us));
    EXPECT_EQ(characters(unit.info()), stuck);
    unit.start(false);
    unit.waitend();
    EXPECT_EQ(characters(unit.info()), "Not running");
}

} // namespace
