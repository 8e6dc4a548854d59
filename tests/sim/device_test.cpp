#include "fake_surroundings.h"
#include "sim/models/device.h"
#include "sim/models/faults.h"

#include <gmock/gmock.h>

using k4sim::Board;
using k4sim::Device;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr Board boards[] = {Board::aes, Board::plain, Board::i2c, Board::engine, Board::none};

std::string some_value(const k4sim::Fault& fault) {
    switch (fault.value) {
    case k4sim::Fault::Value::none:
        return "";
    case k4sim::Fault::Value::key:
        return "5";
    case k4sim::Fault::Value::number:
        return std::to_string(fault.low);
    case k4sim::Fault::Value::pair:
        return std::to_string(fault.low) + ":" + std::to_string(fault.second_high);
    case k4sim::Fault::Value::word:
        break;
    }
    return std::string(fault.value_syntax.substr(0, fault.value_syntax.find('|')));
}

TEST(FaultsTest, EveryDeviceFaultCanBeSetAndTheOthersBelongToTheHost) {
    for (const k4sim::Fault& fault : k4sim::fault_list()) {
        FakeSurroundings surroundings;
        const Board board = fault.needs == k4sim::Fault::Needs::aes ? Board::aes : Board::i2c;
        Device device(board, surroundings);
        const std::string value = some_value(fault);
        EXPECT_EQ(k4sim::fault_error(board, fault.name, value), "") << fault.name;
        EXPECT_EQ(device.set_fault(fault.name, value), fault.site == k4sim::Fault::Site::device)
            << fault.name;
        EXPECT_FALSE(fault.breaks.empty() || fault.verdict.empty()) << fault.name;
        EXPECT_EQ(k4sim::find_fault(fault.name), &fault);
    }
    EXPECT_TRUE(std::ranges::is_sorted(k4sim::fault_list(), {}, &k4sim::Fault::name));
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
        EXPECT_THAT(k4sim::fault_error(board, name, value), HasSubstr(text));
        FakeSurroundings surroundings;
        Device device(board, surroundings);
        EXPECT_FALSE(device.set_fault(name, value)) << name << "=" << value;
    }
    for (const Board board : boards)
        EXPECT_THAT(k4sim::fault_error(board, "no-privilege", ""), IsEmpty());
}

} // namespace
