// What whole runs don't tell of how units count and time before they pass, and end.
#include "app/aesebu_test.h"
#include "app/parallel_test.h"
#include "app/usb_test.h"
#include "support/captured_console.h"
#include "unit_run.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

using k4sim::machine;
using Direction = KLTalsaPCMline::Direction;

class Counters : public UnitRun {
protected:
    static bool is_free(Direction direction) {
        KLTalsaPCMline line;
        return line.open("hw:0,1", direction);
    }
};

TEST_F(Counters, ParallelTestsOnlyCpldsThatItKnows) {
    const struct {
        int id, version;
        bool known;
    } cases[] = {{1, 2, false}, {1, 3, true},   {1, 239, true},  {1, 240, false}, {2, 0, false},
                 {2, 1, true},  {2, 239, true}, {2, 240, false}, {3, 9, false}};
    for (const auto& c : cases) {
        const std::string id = std::to_string(c.id), version = std::to_string(c.version);
        machine().apply_fault({"cpld-id", id, 0});
        machine().apply_fault({"cpld-version", version, 0});
        K4owned<K4STparallel> unit;
        ASSERT_EQ(unit.start(true), 0);
        time_to(unit, c.known ? "OK" : "CPLDerr: ID=" + id + " VER=" + version);
    }
}

// A line end is not part of the text.
TEST_F(Counters, UsbPassesAfterAHundredRoundsWithoutAnAdapterPulled) {
    k4sim::SerialAdapter& adapter = device().serial()[2];
    K4owned<K4STusb> unit;
    ASSERT_EQ(unit.start(true), 0);
    time_to(unit, "In progress: 5");
    adapter.unplug();
    EXPECT_LT(time_to(unit, "Missing USBs: 1"), 2.0);
    adapter.plug();
    EXPECT_LT(time_to(unit, "In progress: 0"), 2.1);
    adapter.receive('\n', 19'200);
    time_to(unit, "In progress: 99");
    EXPECT_LT(time_to(unit, "OK"), 0.11);
    unit.waitend();
    EXPECT_EQ(characters(unit.info()), "OK");
    ASSERT_EQ(unit.start(true), 0);
    time_to(unit, "In progress: 1");
    EXPECT_LT(time_to_stop(unit), 0.1);
    EXPECT_EQ(characters(unit.info()), "Not running");
}

// That is what an adapter gets where standard input is closed, and it can't be worked on.
TEST_F(Counters, UsbEndsWhereAnAdapterGetsDescriptor0) {
    CapturedConsole console;
    KLTlxIOdev("/dev/ttyUSB0").close(); // so that the virtual adapter has its descriptors
    const int input = fcntl(0, F_DUPFD_CLOEXEC, 3);
    close(0);
    K4owned<K4STusb> unit;
    EXPECT_EQ(unit.start(true), 0);
    time_to(unit, "Not running");
    unit.waitend();
    if (input >= 0) dup3(input, 0, 0);
    close(input);
    EXPECT_EQ(console.out(), "USB-0: Opened /dev/ttyUSB0\nCannot enable blocking mode, error -1\n");
}

TEST_F(Counters, AesebuTimesEachConditionFromItsBeginning) {
    CapturedConsole console;
    k4sim::SoundCard& card = device().sound_card();
    K4owned<K4STaesebu> unit;
    ASSERT_EQ(unit.start(true), 0);
    time_to(unit, "Wait for cable unplugged");
    for (const char* next : {"Wait for 32000 Hz 'LOCK'", "Wait for 44100 Hz 'LOCK'"}) {
        KLFptdelay(3 * second_us);
        card.plug_digital(!card.aes()->cable());
        KLFptdelay(second_us);
        card.plug_digital(!card.aes()->cable());
        EXPECT_NEAR(time_to(unit, next), 5, 0.2);
        card.plug_digital(true);
    }
    EXPECT_NEAR(time_to(unit, "Wait for 48000 Hz 'LOCK'"), 5, 0.3);
    EXPECT_NEAR(time_to(unit, "OK"), 5, 0.3);
    EXPECT_EQ(console.out(), "Lost lock\r\n");
    unit.waitend();
    EXPECT_TRUE(is_free(Direction::capture) && is_free(Direction::playback));
}

} // namespace
