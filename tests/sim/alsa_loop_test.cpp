// What is played comes back at the inputs: sample for sample over the digital line, and with
// the level that settings, cable and faults give it over the analog one.
#include "alsa_client.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

using namespace k4sim;

namespace {

constexpr auto s32 = SND_PCM_FORMAT_S32_LE;

// Plays the frames and records both channels meanwhile, from the first played frame on.
template <class Sample>
std::vector<Sample> looped(const char* device, unsigned channels, snd_pcm_format_t format,
                           const std::vector<Sample>& sent) {
    const Pcm out(device), in(device, SND_PCM_STREAM_CAPTURE);
    EXPECT_EQ(out.set(format, channels, 48000, 500), 0);
    EXPECT_EQ(in.set(format, 2, 48000, 500), 0);
    usleep(30'000); // the digital line locks
    EXPECT_EQ(snd_pcm_start(in), 0);
    const Microseconds in_start = machine().events().back().t;
    usleep(3000);
    const auto frames = static_cast<long>(sent.size() / channels);
    EXPECT_EQ(snd_pcm_writei(out, sent.data(), frames), frames);
    EXPECT_EQ(snd_pcm_start(out), 0);
    const Microseconds out_start = machine().events().back().t;
    usleep(static_cast<useconds_t>(frames * 1000 / 48));
    const auto before = static_cast<long>(out_start * 48 / 1000 - in_start * 48 / 1000);
    std::vector<Sample> heard(2 * (before + frames));
    EXPECT_EQ(snd_pcm_readi(in, heard.data(), before + frames), before + frames);
    heard.erase(heard.begin(), heard.begin() + 2 * before);
    return heard;
}

double db(double value) { return 20 * std::log10(std::max(value, 1e-10)); }

struct Level {
    double rms_db, dc_db; // RMS without the DC
};

Level level_of(const std::vector<std::int32_t>& heard, unsigned input, unsigned first,
               unsigned count) {
    double sum = 0, squares = 0;
    for (unsigned frame = first; frame < first + count; ++frame) {
        const double sample = std::ldexp(heard[2 * frame + input], -31);
        sum += sample / count;
        squares += sample * sample / count;
    }
    return {db(std::sqrt(squares - sum * sum)), db(std::abs(sum))};
}

class AlsaLoopTest : public AlsaTest {
protected:
    // As the program sets the mixer for line levels.
    static void set_line_levels() {
        const int nominal = device().board() == Board::aes ? 24 : 0;
        Element("Line Out Playback Volume").write({127, 127});
        Element("Headphone Playback Volume").write({100, 100});
        Element("Line In Capture Volume").write({nominal, nominal});
        for (const char* name :
             {"Line Out Playback Switch", "Headphone Playback Switch", "Line In Capture Switch"})
            Element(name).write({1, 1});
    }
    // 0.45 s of a tone of half of full scale.
    static std::vector<std::int32_t> tone_looped(double tone_hz) {
        const unsigned channels = device().board() == Board::aes ? 6 : 4;
        std::vector<std::int32_t> tone(channels * 21600UL);
        for (std::size_t i = 0; i < tone.size(); ++i)
            if (i % channels < 2)
                tone[i] = static_cast<std::int32_t>(
                    0x1p30 * std::sin(2 * std::numbers::pi * tone_hz * (i / channels) / 48000));
        return looped("hw:0,0", channels, s32, tone);
    }
};

TEST_F(AlsaLoopTest, TheDigitalLineBringsEachSampleOfEachFormatWhileItProcesses) {
    device().sound_card().plug_digital(true);
    Element("IEC958 Playback TXC State").write({1});
    Element processing("IEC958 Capture RXP Processing State");
    processing.write({1});
    const std::vector<std::int16_t> s16{-32768, 32767, 1, -1, 0, 12345};
    EXPECT_EQ(looped("hw:0,1", 2, SND_PCM_FORMAT_S16_LE, s16), s16);
    using Words = std::vector<std::uint32_t>;
    EXPECT_EQ(
        looped("hw:0,1", 2, SND_PCM_FORMAT_S24_LE, Words{0xAA800000, 0x557FFFFF, 1, 0xFFFFFF}),
        (Words{0x800000, 0x7FFFFF, 1, 0xFFFFFF})); // the upper byte does not count
    const Words words{0x80000000, 0x7FFFFF80, 0x00000080, 0xFFFFFF80};
    EXPECT_EQ(looped("hw:0,1", 2, s32, words), words);
    EXPECT_EQ(looped("hw:0,1", 2, SND_PCM_FORMAT_FLOAT_LE,
                     std::vector<float>{-1, 0.5F, 2, -2, std::nanf(""), -0x1p-24F}),
              (std::vector<float>{-1, 0.5F, 1 - 0x1p-24F, -1, -1, -0x1p-24F}));
    processing.write({0});
    EXPECT_EQ(looped("hw:0,1", 2, s32, words), Words(4));
}

TEST_F(AlsaLoopTest, TheAnalogLineIs40FramesLongAndACrackle10MsLong) {
    device().sound_card().plug_analog(true);
    set_line_levels();
    std::vector<std::int32_t> click(6000);
    click[0] = 1 << 30;
    const std::vector<std::int32_t> heard = looped("hw:0,0", 6, s32, click);
    for (int frame = 0; frame < 1000; ++frame)
        EXPECT_NEAR(std::ldexp(heard[2 * frame], -31), frame == 40 ? 0.5 : 0, 0.001) << frame;

    device().set_fault("analog-crackle", "");
    const std::vector<std::int32_t> crackle = looped("hw:0,0", 6, s32, click);
    const unsigned rest = 480 - 144; // the recording began 3 ms before
    EXPECT_NEAR(level_of(crackle, 0, 50, rest - 52).rms_db, -20, 0.6);
    EXPECT_LT(level_of(crackle, 0, rest + 2, 600).rms_db, -85);
}

TEST_F(AlsaLoopTest, AToneHasTheLevelOfSettingsCableAndFaults) {
    constexpr double tone = -9.03, noise = -90;
    constexpr const char* line_out = "Line Out Playback Volume";
    constexpr const char* boost = "MicBoost Playback Switch";
    constexpr const char* phones = "Headphone Playback Switch";
    constexpr const char* line_in = "Line In Capture Volume";
    constexpr const char* more_in = "Line In Level Capture Volume";
    const struct {
        Board board;
        const char *fault, *value;
        std::vector<std::pair<const char*, std::vector<int>>> settings;
        double left_db, right_db;
        std::uint8_t microphone = 0; // the CPLD's switches
        double tone_hz = 1000, dc_db = -66;
    } cases[] = {
        {Board::aes, "", "", {{line_in, {48, 48}}}, tone - 6.74, tone - 24, 0x01},
        {Board::aes, "", "", {{line_in, {24, 27}}}, tone, tone - 2.5 - 3, 0x20},
        {Board::aes, "", "", {{line_out, {100, 0}}}, tone - 27, noise},
        {Board::aes, "", "", {{line_out, {120, 120}}, {more_in, {1, 2}}}, tone - 4, tone - 1},
        {Board::plain, "", "", {{boost, {0, 1}}, {line_in, {8, 1}}}, tone - 6.74, tone - 3},
        {Board::plain, "", "", {{"Phantom Playback Switch", {0, 1}}}, tone, tone - 2.5},
        {Board::aes, "", "", {{"Line Out Playback Switch", {0, 1}}}, noise, tone},
        {Board::aes, "", "", {{"Line In Capture Switch", {1, 0}}}, tone, noise},
        {Board::aes, "analog-cable", "left", {}, tone, noise},
        {Board::aes, "analog-cable", "right", {}, noise, tone},
        {Board::aes, "analog-cable", "crossed", {{line_out, {120, 127}}}, tone, tone - 7},
        {Board::aes, "analog-cable", "phones", {{phones, {1, 0}}}, tone - 27, noise},
        // Clipped are 46 of 48 samples.
        {Board::aes, "analog-gain", "40", {}, -0.185, -0.185, 0, 1000, -70},
        {Board::aes, "analog-hum", "-60", {{line_out, {0, 0}}}, -63, -63},
        {Board::aes, "analog-noise", "-70", {{line_out, {0, 0}}}, -69.96, -69.96},
        {Board::aes, "analog-dc", "-30", {}, tone, tone, 0, 1000, -30},
        {Board::aes, "analog-input-dead", "1", {}, noise, tone},
        {Board::aes, "analog-droop", "5000", {}, tone - 3.57, tone - 3.57, 0, 3000},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        k4sim::Setup setup;
        setup.board = row.board;
        setup.seed = static_cast<std::uint64_t>(&row - cases); // DC and noise are another's
        machine().reset(setup);
        set_line_levels();
        for (const auto& [element, values] : row.settings)
            EXPECT_EQ(Element(element).write(values), 1) << element;
        device().out(0xD00B, row.microphone);
        EXPECT_EQ(device().set_fault(row.fault, row.value), *row.fault != '\0');
        device().sound_card().plug_analog(true);
        const std::vector<std::int32_t> heard = tone_looped(row.tone_hz);
        const Level left = level_of(heard, 0, 2400, 19200), right = level_of(heard, 1, 2400, 19200);
        EXPECT_NEAR(left.rms_db, row.left_db, 0.1);
        EXPECT_NEAR(right.rms_db, row.right_db, 0.1);
        EXPECT_NEAR(left.dc_db, row.dc_db, 4.6);
        EXPECT_NEAR(right.dc_db, row.dc_db, 4.6);
    }
}

} // namespace
