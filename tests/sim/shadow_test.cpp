// The virtual device as the shadow of other hardware: accesses that were recorded are played back
// by that hardware's place, and the device sees what was written.
#include "sim/machine/shadowed_ports.h"

#include "hw/frontpanel.h"
#include "sim/models/device.h"
#include "support/boards.h"
#include "support/ports.h"

#include <vector>

namespace {

using namespace k4sim;

struct Access {
    bool writes;
    std::uint16_t port;
    std::uint8_t value;
    bool operator==(const Access&) const = default;
};

// Hands on to a device, and notes what passes.
class Recorder final : public PortSpace {
public:
    std::vector<Access> tape;

    std::uint8_t in(std::uint16_t port) override {
        return tape.emplace_back(false, port, machine().device().in(port)).value;
    }
    void out(std::uint16_t port, std::uint8_t value) override {
        tape.emplace_back(true, port, value);
        machine().device().out(port, value);
    }
};

// Answers as on the tape, and notes what comes to it.
class Player final : public PortSpace {
public:
    explicit Player(const std::vector<Access>& tape) : tape_(tape) {}
    std::vector<Access> seen;

    std::uint8_t in(std::uint16_t port) override {
        return seen.emplace_back(false, port, tape_[seen.size()].value).value;
    }
    void out(std::uint16_t port, std::uint8_t value) override {
        seen.emplace_back(true, port, value);
    }

private:
    const std::vector<Access>& tape_;
};

class ShadowedPanel : public BoardTest, public testing::WithParamInterface<Board> {};

TEST_P(ShadowedPanel, ShowsWhatWentToTheHardware) {
    use_board(GetParam());
    Recorder recorder;
    {
        const AttachedPorts attached(recorder);
        CHfrontpanelK4 panel;
        ASSERT_EQ(panel.init(0), 0);
        for (int i = 0; i < 256 * 64; ++i)
            panel.display.put(i % 256, i / 256, i * i / 7 % 16);
        panel.writer->commitFrom(panel.display, true);
        panel.dispContrast(50);
    }
    const auto picture = machine().device().oled()->picture();
    const int contrast = machine().device().oled()->peek_contrast();

    use_board(GetParam());
    machine().device().set_fault("key-held", "7"); // of the shadow: its read side is not asked
    ASSERT_NE(machine().device().oled()->picture(), picture);
    Player hardware(recorder.tape);
    ShadowedPorts ports(hardware, machine().device());
    const AttachedPorts attached(ports);
    for (const auto& [writes, port, value] : recorder.tape)
        if (writes)
            machine().port_out(port, value);
        else
            ASSERT_EQ(machine().port_in(port), value);
    EXPECT_EQ(hardware.seen, recorder.tape);
    EXPECT_EQ(machine().device().oled()->picture(), picture);
    EXPECT_EQ(machine().device().oled()->peek_contrast(), contrast);
}

INSTANTIATE_TEST_SUITE_P(Boards, ShadowedPanel,
                         testing::Values(Board::aes, Board::plain, Board::i2c, Board::engine));

} // namespace
