// The sound card's control elements and its digital line.
#include "support/scratch_folder.h"

#include "alsa_client.h"

#include <cmath>
#include <fstream>
#include <functional>

using namespace k4sim;

namespace {

using AlsaControlTest = AlsaTest;

// The stock configuration gives a control device one argument, the card.
TEST_F(AlsaControlTest, OpensUnderTheStockNamesWhateverTheSettingsOfTheUser) {
    const ScratchFolder home;
    std::ofstream(home.file(".asoundrc")) << "ctl.!default { type nonsense }\n";
    const std::string former = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "";
    setenv("HOME", home.path().c_str(), 1);
    snd_config_update_free_global(); // the next use reads everything anew
    const auto open = [](const char* name) {
        return Opened<snd_ctl_t, snd_ctl_open, snd_ctl_close>(name, 0).result;
    };
    for (const char* name : {"hw:0", "default", "hw:K4", "hw"})
        EXPECT_EQ(open(name), 0) << name;
    for (const char* name : {"hw:1", "hw:31", "hw:0,1", "default:1"})
        EXPECT_EQ(open(name), -ENOENT) << name;
    EXPECT_EQ(open("hw:32"), -EINVAL) << "no card can have it";
    EXPECT_EQ(open("hw:Other"), -ENODEV);
    setenv("HOME", former.c_str(), 1);
    device().set_fault("card-absent", "");
    EXPECT_EQ(open("hw:0"), -ENOENT);
    EXPECT_EQ(open("hw:K4"), -ENODEV);
}

TEST_F(AlsaControlTest, EachElementTakesItsValuesAndNoOthers) {
    const struct {
        Board board;
        const char* name;
        unsigned count;
        int highest;
    } cases[] = {
        {Board::aes, "Headphone Playback Volume", 2, 127},
        {Board::aes, "Headphone Playback Switch", 2, 1},
        {Board::aes, "Line Out Playback Volume", 2, 127},
        {Board::aes, "Line Out Playback Switch", 2, 1},
        {Board::aes, "Line In Capture Volume", 2, 63},
        {Board::aes, "Line In Capture Switch", 2, 1},
        {Board::aes, "Line In Level Capture Volume", 2, 15},
        {Board::plain, "Line In Capture Volume", 2, 31},
        {Board::plain, "MicBoost Playback Switch", 2, 1},
        {Board::plain, "Phantom Playback Switch", 2, 1},
        {Board::aes, "IEC958 Capture RXP Processing State", 1, 1},
        {Board::aes, "IEC958 Playback TXC State", 1, 1},
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
    EXPECT_EQ(Element("Line In Capture Volume").decibels(5), std::pair(0L, 0L));
    constexpr long silence = SND_CTL_TLV_DB_GAIN_MUTE;
    EXPECT_EQ(Element("Line Out Playback Volume").decibels(3), std::pair(silence, 0L));
    EXPECT_EQ(Element("Line In Level Capture Volume").decibels(7), std::pair(0L, 4500L));
    EXPECT_EQ(Element("IEC958 Capture RXP Status").write({1}), -EPERM);
    EXPECT_EQ(Element("IEC958 Playback TXC Channel").write(std::vector(24, 255)), 1);
}

TEST_F(AlsaControlTest, AMissingElementIsMissedAlone) {
    const std::pair<const char*, const char*> cases[] = {
        {"headphone", "Headphone Playback Switch"},
        {"line-out", "Line Out Playback Volume"},
        {"line-in", "Line In Capture Volume"},
        {"line-in-level", "Line In Level Capture Volume"},
    };
    for (const auto& [missing, unused] : cases) {
        use_board(Board::aes);
        device().set_fault("card-element-missing", missing);
        for (const auto& [word, element] : cases)
            EXPECT_EQ(Element(element).read(), word == missing ? -ENOENT : 0) << missing;
    }
    use_board(Board::aes);
    device().set_fault("aes-receiver-absent", "");
    EXPECT_EQ(Element("IEC958 Capture RXP Status").read(), -ENOENT);
    EXPECT_EQ(Element("IEC958 Playback TXC State").read(), 0);
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

TEST_F(DigitalLineTest, LocksWhereRateAndCodeAgreeAndTellsTheRate) {
    const struct {
        unsigned rate_hz;
        int spdif, sent, status, received_0, received_3;
    } cases[] = {
        {32000, 0x14, 0xC1, 0x0D, 0xC1, 0},
        {44100, 0x80, 0x41, 0x0B, 0x41, 0},
        {48000, 0x00, 0x81, 0x09, 0x81, 0},
        {88200, 0x90, 0x01, 0x07, 0x01, 0},
        {96000, 0x10, 0x01, 0x05, 0x01, 0},
        {48000, 0x14, 0x81, 0x0E, 0, 0},
        {32000, 0x00, 0xC1, 0x0E, 0, 0},
        {48000, 0x84, 0x81, 0x0E, 0, 0},
        // The consumer format tells the rate in byte 3.
        {32000, 0x15, 0xC1, 0x0D, 0, 3},
        {44100, 0x81, 0x41, 0x0B, 0, 0},
        {48000, 0x01, 0x81, 0x09, 0, 2},
        {88200, 0x91, 0x01, 0x07, 0, 8},
        {96000, 0x11, 0x01, 0x05, 0, 10},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(out.set(SND_PCM_FORMAT_S16_LE, 2, row.rate_hz), 0);
        spdif.write({row.spdif});
        channel.write({row.sent});
        usleep(20'100);
        EXPECT_EQ(status.value(), row.status) << row.rate_hz << " " << row.spdif;
        EXPECT_EQ(received.value(0), row.received_0) << row.rate_hz << " " << row.spdif;
        EXPECT_EQ(received.value(3), row.received_3) << row.rate_hz << " " << row.spdif;
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
