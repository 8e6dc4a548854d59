// The list of faults, what is said of one that can't be had, and how long those of the links last.
#include "fake_surroundings.h"
#include "sim/models/device.h"
#include "sim/models/faults.h"

#include <gmock/gmock.h>

using namespace k4sim;

namespace {

TEST(FaultsTest, EachTakesTheExampleOfItsErrorWhereItsSiteIsTheDevice) {
    for (const Fault& fault : fault_list()) {
        FakeSurroundings surroundings;
        const Board board = fault.needs == Fault::Needs::aes ? Board::aes : Board::i2c;
        Device device(board, surroundings);
        const std::string error = fault_error(board, fault.name, "?");
        const bool takes_value = fault.value != Fault::Value::none;
        const std::string example = takes_value ? error.substr(error.rfind('=') + 1) : "";
        EXPECT_EQ(fault_error(board, fault.name, example), "");
        EXPECT_EQ(device.set_fault(fault.name, example), fault.site == Fault::Site::device)
            << fault.name;
        EXPECT_FALSE(fault.breaks.empty() || fault.verdict.empty()) << fault.name;
        EXPECT_EQ(find_fault(fault.name), &fault);
    }
    EXPECT_TRUE(std::ranges::is_sorted(fault_list(), {}, &Fault::name));
}

TEST(FaultsTest, AnErrorNamesTheFaultAndTheWayOut) {
    const struct {
        Board board;
        std::string_view name, value;
        const char* text;
    } cases[] = {
        {Board::aes, "key-hold", "7", "unknown fault key-hold: \"k4sim faults\""},
        {Board::aes, "", "", "unknown fault"},
        {Board::aes, "key-held", "L", "fault key-held needs a key, one of 0123456789*#KEACDM"},
        {Board::aes, "key-dead", "55", "needs a key"},
        {Board::aes, "panel-type", "256", "needs a number from 0 to 255"},
        {Board::aes, "panel-type", "0x-1", "needs a number"},
        {Board::aes, "thread-create", "0", "needs a number from 1"},
        {Board::aes, "panel-dead", "1", "takes no value"},
        {Board::aes, "parallel-flaky", "3", "needs LINE:N, two numbers from 0:1 to 7:1000000"},
        {Board::aes, "parallel-flaky", "8:1", "for example parallel-flaky=7:1000000"},
        {Board::aes, "parallel-flaky", "3:", "needs LINE:N"},
        {Board::aes, "link-down", "eth1", "needs one of eth0|usb0"},
        {Board::aes, "sda-stuck", "0", "board aes: choose board i2c or engine"},
        {Board::aes, "analog-cable", "righ", "needs one of early|never|left"},
        {Board::plain, "aes-receiver-absent", "", "board plain: choose board aes"},
        {Board::none, "panel-dead", "", "board none: choose board aes, plain, i2c or engine"},
    };
    for (const auto& [board, name, value, text] : cases) {
        EXPECT_THAT(fault_error(board, name, value), testing::HasSubstr(text));
        FakeSurroundings surroundings;
        EXPECT_FALSE(Device(board, surroundings).set_fault(name, value)) << name << "=" << value;
    }
    EXPECT_EQ(fault_error(Board::none, "no-privilege", ""), "");
}

TEST(FaultsTest, ANumberHasItsRange) {
    constexpr std::pair<std::string_view, const char*> ranges[] = {
        {"analog-dc", "-100 to 0:"},           {"analog-droop", "20 to 20000:"},
        {"analog-gain", "-100 to 40:"},        {"analog-hum", "-100 to 0:"},
        {"analog-input-dead", "1 to 2:"},      {"analog-noise", "-100 to 0:"},
        {"capture-overrun", "1 to 3600:"},     {"cpld-id", "0 to 255:"},
        {"cpld-version", "0 to 255:"},         {"encoder-dead", "1 to 2:"},
        {"key-word-invalid", "1 to 1000000:"}, {"parallel-high", "0 to 7:"},
        {"parallel-inverted", "0 to 7:"},      {"parallel-low", "0 to 7:"},
        {"parallel-open", "0 to 7:"},          {"parallel-tied-high", "0 to 6:"},
        {"parallel-tied-low", "0 to 6:"},      {"playback-underrun", "1 to 3600:"},
        {"serial-absent", "1 to 2:"},          {"serial-byte-flipped", "1 to 1000000:"},
        {"serial-byte-lost", "1 to 1000000:"}, {"serial-first-number", "0 to 9:"},
        {"serial-late", "1 to 3600:"},         {"serial-output-refused", "1 to 2:"},
        {"serial-second-number", "0 to 9:"},   {"serial-settings-refused", "1 to 2:"},
        {"serial-speed-wrong", "1 to 2:"},     {"thread-create", "1 to 99:"},
    };
    for (const auto& [name, range] : ranges)
        EXPECT_THAT(fault_error(Board::aes, name, "?"), testing::HasSubstr(range));
}

TEST(FaultsTest, ALinkIsDownForItsTime) {
    const struct {
        const char* fault;
        std::vector<std::string> history;
    } cases[] = {{"link-dropped", {"0 down", "600 up"}},
                 {"link-flapping", {"0 down", "1000 up", "5000 down", "6000 up", "10000 down"}},
                 {"link-down", {"0 down"}}};
    for (const auto& [fault, history] : cases) {
        FakeSurroundings surroundings;
        Device device(Board::none, surroundings);
        std::vector<std::string> seen;
        device.set_fault(fault, "usb0");
        for (int ms = 0; ms <= 10'000; ++ms) {
            for (const std::string& event : surroundings.events)
                seen.push_back(std::to_string(ms) + event.substr(4, event.find(" interface") - 4));
            surroundings.events.clear();
            surroundings.advance(1000);
        }
        EXPECT_EQ(seen, history) << fault;
    }
}

} // namespace
