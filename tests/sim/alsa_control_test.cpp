// The sound card's control elements and its digital line.
#include "alsa_client.h"

#include <cmath>
#include <functional>

using namespace k4sim;

namespace {

using AlsaControlTest = AlsaTest;

TEST_F(AlsaControlTest, EachElementTakesItsValuesAndNoOthers) {
    const struct {
        Board board;
        const char* name;
        unsigned count;
        int highest;
    } cases[] = {
        {Board::aes, "Headphone Playback Volume", 2, 127},
        {Board::aes, "Line Out Playback Switch", 2, 1},
        {Board::aes, "Line In Capture Volume", 2, 63},
        {Board::aes, "Line In Level Capture Volume", 2, 15},
        {Board::plain, "Line In Capture Volume", 2, 31},
        {Board::aes, "IEC958 Playback TXC SPdif", 1, 255},
    };
    for (const auto& [board, name, count, highest] : cases) {
        use_board(board);
        Element element(name);
        std::vector<int> values(count, 0);
        element.write(values);
        for (const int last : {highest, highest, highest + 1, -1}) {
            const bool fits = last == highest, is_new = fits && element.value(count - 1) != last;
            values.back() = last;
            EXPECT_EQ(element.write(values), fits ? is_new : -EINVAL) << name << " " << last;
        }
        EXPECT_EQ(element.value(count - 1), highest) << name;
    }
    use_board(Board::aes);
    EXPECT_EQ(Element("Headphone Playback Volume").decibels(1, 27, 127), -10000);
    EXPECT_EQ(Element("Headphone Playback Switch").decibels(2, 1, 1), std::nullopt);
    EXPECT_EQ(Element("IEC958 Capture RXP Status").write({1}), -EPERM);
    EXPECT_EQ(Element("IEC958 Playback TXC Channel").write(std::vector(24, 255)), 1);
    device().set_fault("aes-transmitter-refuses", "");
    EXPECT_EQ(Element("IEC958 Playback TXC State").write({1}), -EIO);
    EXPECT_EQ(Element("IEC958 Capture RXP Processing State").write({1}), 1);
    for (const char* missing : {"headphone", "line-in"})
        device().set_fault("card-element-missing", missing);
    EXPECT_EQ(Element("Headphone Playback Switch").read(), -ENOENT);
    EXPECT_EQ(Element("Line In Capture Volume").read(), -ENOENT);
    EXPECT_EQ(Element("Line In Level Capture Volume").read(), 0);
}

TEST_F(AlsaControlTest, TheCardSaysWhoItIs) {
    snd_ctl_card_info_t* info = nullptr;
    snd_ctl_card_info_alloca(&info);
    ASSERT_EQ(snd_ctl_card_info(Control("hw:0", 0), info), 0);
    EXPECT_STREQ(snd_ctl_card_info_get_driver(info), "k4sim");
    EXPECT_STREQ(snd_ctl_card_info_get_name(info), "K/4");
    EXPECT_STREQ(snd_ctl_card_info_get_longname(info), "Sound card of the virtual K/4");
    EXPECT_EQ(snd_ctl_card_info_get_card(info), 0);
}

// As with a card of the kernel's: its number is dead, and the others keep theirs.
TEST_F(AlsaControlTest, AnElementThatGoesAwayLeavesItsNumberToNoOther) {
    use_board(Board::plain);
    const auto name_of = [](snd_ctl_t* control, unsigned number) {
        snd_ctl_elem_info_t* info = nullptr;
        snd_ctl_elem_info_alloca(&info);
        snd_ctl_elem_info_set_numid(info, number);
        const int error = snd_ctl_elem_info(control, info);
        return error == 0 ? snd_ctl_elem_info_get_name(info) : std::to_string(error);
    };
    constexpr unsigned boost = 8, phantom = 9;
    const Control before("hw:0", 0);
    EXPECT_EQ(name_of(before, boost), "MicBoost Playback Switch");
    device().set_fault("card-element-missing", "micboost");
    EXPECT_EQ(name_of(before, boost), std::to_string(-ENOENT));
    EXPECT_EQ(name_of(before, phantom), "Phantom Playback Switch");
    snd_ctl_elem_value_t* on = nullptr;
    snd_ctl_elem_value_alloca(&on);
    snd_ctl_elem_value_set_numid(on, boost);
    snd_ctl_elem_value_set_boolean(on, 0, 1);
    EXPECT_EQ(snd_ctl_elem_write(before, on), -ENOENT);
    EXPECT_EQ(Element("Phantom Playback Switch").value(), 0);
    EXPECT_EQ(name_of(Control("hw:0", 0), boost), "Phantom Playback Switch") << "counted anew";
}

// With all that the digital line needs to lock at 48000 Hz.
class DigitalLineTest : public AlsaTest {
protected:
    DigitalLineTest() {
        EXPECT_EQ(out.set(SND_PCM_FORMAT_S16_LE, 2), 0);
        EXPECT_EQ(transmitter.write({1}), 1);
        plug(true);
    }
    static void plug(bool plugged) { device().sound_card().plug_digital(plugged); }

    // When the receiver locks within a second from now, to the nearest ms; 0: it does not.
    static long lock_ms() {
        const Microseconds start = machine().now();
        sleep(1);
        for (const Event& event : machine().events())
            if (event.source == "aes" && event.what == "lock" && event.t >= start)
                return std::lround(static_cast<double>(event.t - start) / 1000);
        return 0;
    }

    const Pcm out{"hw:0,1"};
    Element transmitter{"IEC958 Playback TXC State"}, spdif{"IEC958 Playback TXC SPdif"};
    Element channel{"IEC958 Playback TXC Channel"}, status{"IEC958 Capture RXP Status"};
    Element received{"IEC958 Capture RXC Channel"}, changed{"IEC958 Capture RXP Lock Change"};
};

// That each rate is told in its codes, the program's own view of the line shows.
TEST_F(DigitalLineTest, LocksWhereRateAndCodeAgreeAndTellsTheRate) {
    const struct {
        unsigned rate_hz;
        int spdif, status, received_3;
    } cases[] = {{48000, 0x14, 0x0E, 0},
                 // The consumer format tells the rate in byte 3.
                 {48000, 0x01, 0x09, 2},
                 {88200, 0x91, 0x07, 8},
                 {96000, 0x11, 0x05, 10}};
    for (const auto& [rate_hz, code, expected, received_3] : cases) {
        EXPECT_EQ(out.set(SND_PCM_FORMAT_S16_LE, 2, rate_hz), 0);
        spdif.write({code});
        usleep(20'100);
        EXPECT_EQ(status.value(), expected) << code;
        EXPECT_EQ(received.value(3), received_3) << code;
    }
    EXPECT_EQ(Element("IEC958 Playback Default").write({7}), 1);
    EXPECT_EQ(channel.value(), 7) << "the default is sent until another status is";
}

TEST_F(DigitalLineTest, NeedsCableTransmitterAndStreamAndAMoment) {
    const std::pair<std::function<void()>, std::function<void()>> cases[] = {
        {[] { plug(false); }, [] { plug(true); }},
        {[&] { transmitter.write({0}); }, [&] { transmitter.write({1}); }},
        {[&] { spdif.write({0x80}); }, [&] { spdif.write({0x00}); }},
        {[&] { snd_pcm_hw_free(out); }, [&] { out.set(SND_PCM_FORMAT_S16_LE, 2); }},
    };
    EXPECT_EQ(lock_ms(), 20);
    for (const auto& [take, give] : cases) {
        EXPECT_EQ(changed.write({1}), 1);
        EXPECT_EQ(changed.value(), 0);
        take();
        EXPECT_EQ(status.value(), 0x0E) << &take - &cases[0].first;
        EXPECT_EQ(changed.value(), 1);
        EXPECT_EQ(lock_ms(), 0);
        give();
        EXPECT_EQ(lock_ms(), 20);
    }
    device().set_fault("aes-lock-lost", "");
    spdif.write({0x01}); // does not bring it back earlier
    EXPECT_EQ(lock_ms(), 320);
}

} // namespace
