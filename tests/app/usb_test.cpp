// The unit on real pseudo-terminals, which stand behind the names that it opens.
#include "app/usb_test.h"

#include "unit_run.h"

#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <map>
#include <memory>
#include <mutex>
#include <poll.h>
#include <termios.h>
#include <unistd.h>
#include <utility>
#include <vector>

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

// What stands behind the names, and which of them were opened.
class Bus {
public:
    void plug(const std::string& name, const std::string& path) {
        const std::lock_guard hold(mutex_);
        paths_[name] = path;
    }
    void unplug(const std::string& name) {
        const std::lock_guard hold(mutex_);
        paths_.erase(name);
    }
    // The path behind the name, or "".
    std::string open(const std::string& name) {
        const std::lock_guard hold(mutex_);
        const auto found = paths_.find(name);
        if (found == paths_.end()) return {};
        opened_.push_back(name);
        return found->second;
    }
    // Since the last call.
    std::vector<std::string> opened() {
        const std::lock_guard hold(mutex_);
        return std::exchange(opened_, {});
    }
    void clear() {
        const std::lock_guard hold(mutex_);
        paths_.clear();
        opened_.clear();
    }

private:
    std::mutex mutex_;
    std::map<std::string, std::string> paths_;
    std::vector<std::string> opened_;
} bus;

} // namespace

extern "C" bool __real__ZN10KLTlxIOdev4openEPKc(KLTlxIOdev* device, const char* path);

// In place of KLTlxIOdev::open in this program.
extern "C" bool __wrap__ZN10KLTlxIOdev4openEPKc(KLTlxIOdev* device, const char* path) {
    const std::string behind = bus.open(path);
    return __real__ZN10KLTlxIOdev4openEPKc(device, behind.c_str());
}

namespace {

using testing::ElementsAre;

class Usb : public UnitRun {
protected:
    Usb() {
        bus.clear();
        unit.init();
        testing::internal::CaptureStdout();
    }
    ~Usb() noexcept override {
        if (capturing) printed();
    }

    std::string printed() {
        capturing = false;
        return testing::internal::GetCapturedStdout();
    }

    void plug(const std::string& name) {
        bus.plug(name, adapters.emplace_back(std::make_unique<Adapter>())->path());
    }

    // Carries what the first two adapters sent to the other, or back.
    void carry() {
        const std::string first = adapters[0]->take();
        const std::string second = adapters[1]->take();
        sent[0] += first;
        sent[1] += second;
        adapters[0]->give(crossed ? second : first);
        adapters[1]->give(crossed ? first : second);
    }
    testing::AssertionResult reaches(const char* status, k4sim::Microseconds patience_us) {
        return shows(unit, status, patience_us, [this] { carry(); });
    }

    std::vector<std::unique_ptr<Adapter>> adapters;
    bool crossed = true;
    bool capturing = true;
    std::string sent[2];
    K4STusb unit; // goes first: its devices are open
};

TEST_F(Usb, LooksForMissingAdaptersEveryTwoSeconds) {
    EXPECT_EQ(characters(unit.info()), "Not running");
    ASSERT_EQ(unit.start(true), 0);
    EXPECT_EQ(characters(unit.info()), "Missing USBs: 2");
    KLFptdelay(second_us);
    plug("/dev/ttyUSB9");
    EXPECT_EQ(characters(unit.info()), "Missing USBs: 2");
    KLFptdelay(2 * second_us);
    EXPECT_EQ(characters(unit.info()), "Missing USBs: 1");
    plug("/dev/ttyUSB0");
    KLFptdelay(2 * second_us);
    EXPECT_EQ(characters(unit.info()), "In progress: 0");
    EXPECT_THAT(bus.opened(), ElementsAre("/dev/ttyUSB9", "/dev/ttyUSB0"));
    unit.start(false);
    unit.waitend();
    EXPECT_EQ(characters(unit.info()), "Not running");
    EXPECT_EQ(printed(), "USB-0: Opened /dev/ttyUSB9\nUSB-1: Opened /dev/ttyUSB0\n");
}

TEST_F(Usb, PassesAfterAHundredRounds) {
    plug("/dev/ttyUSB3");
    plug("/dev/ttyUSB4");
    for (const bool cable : {true, false}) {
        crossed = cable;
        ASSERT_EQ(unit.start(true), 0);
        EXPECT_TRUE(reaches("In progress: 1", 10 * second_us));
        for (const auto& adapter : adapters) {
            const termios line = adapter->line();
            EXPECT_EQ(cfgetispeed(&line), static_cast<speed_t>(B19200));
            EXPECT_EQ(cfgetospeed(&line), static_cast<speed_t>(B19200));
            EXPECT_EQ(line.c_lflag & (ICANON | ECHO | ISIG), 0U);
            EXPECT_EQ(line.c_oflag & OPOST, 0U);
        }
        EXPECT_TRUE(reaches("In progress: 99", 60 * second_us));
        while (characters(unit.info()) == "In progress: 99") {
            carry();
            KLFptdelay(500);
        }
        ASSERT_EQ(characters(unit.info()), "OK");
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
    }
}

TEST_F(Usb, WrongByteKeepsTheRoundOpen) {
    plug("/dev/ttyUSB0");
    plug("/dev/ttyUSB1");
    ASSERT_EQ(unit.start(true), 0);
    ASSERT_TRUE(reaches("In progress: 5", 10 * second_us));
    adapters[0]->give("?");
    KLFptdelay(second_us);
    const std::string stuck = characters(unit.info());
    for (int i = 0; i < 1'000; ++i) {
        carry();
        KLFptdelay(1'000);
    }
    EXPECT_EQ(characters(unit.info()), stuck);
    unit.start(false);
    unit.waitend();
    EXPECT_EQ(characters(unit.info()), "Not running");
}

TEST_F(Usb, LineEndsAreNotPartOfTheText) {
    plug("/dev/ttyUSB0");
    plug("/dev/ttyUSB1");
    ASSERT_EQ(unit.start(true), 0);
    ASSERT_TRUE(reaches("In progress: 5", 10 * second_us));
    adapters[0]->give("\n\n");
    EXPECT_TRUE(reaches("In progress: 20", 10 * second_us));
}

TEST_F(Usb, AdapterThatIsPulledStartsTheCountAgain) {
    plug("/dev/ttyUSB0");
    plug("/dev/ttyUSB1");
    ASSERT_EQ(unit.start(true), 0);
    ASSERT_TRUE(reaches("In progress: 5", 10 * second_us));
    KLFptdelay(second_us); // the next text has been sent
    bus.opened();
    bus.unplug("/dev/ttyUSB1");
    adapters.pop_back();
    EXPECT_TRUE(shows(unit, "Missing USBs: 1", second_us));
    EXPECT_THAT(bus.opened(), ElementsAre("/dev/ttyUSB0"));
    plug("/dev/ttyUSB7");
    adapters[0]->take();
    EXPECT_TRUE(shows(unit, "In progress: 0", 3 * second_us));
    EXPECT_TRUE(reaches("In progress: 3", 3 * second_us));
}

// What is no terminal can't be set to raw mode.
TEST_F(Usb, AdapterThatCannotBeSetUpEndsTheTest) {
    plug("/dev/ttyUSB0");
    bus.plug("/dev/ttyUSB1", "/dev/full");
    ASSERT_EQ(unit.start(true), 0);
    unit.waitend();
    EXPECT_EQ(characters(unit.info()), "Not running");
    EXPECT_EQ(printed(), "USB-0: Opened /dev/ttyUSB0\nUSB-1: Opened /dev/ttyUSB1\n"
                         "Cannot set raw mode, error -1\n");
}

} // namespace
