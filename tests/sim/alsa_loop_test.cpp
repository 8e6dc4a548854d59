// What is played comes back at the analog inputs, with the level that settings, cable and faults
// give it.
#include "alsa_client.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

using namespace k4sim;

namespace {

// Plays the frames on the analog line and records both channels meanwhile, from the first played
// frame on.
std::vector<std::int32_t> looped(unsigned channels, const std::vector<std::int32_t>& sent) {
    const Pcm out("hw:0"), in("hw:0", SND_PCM_STREAM_CAPTURE);
    EXPECT_EQ(out.set(SND_PCM_FORMAT_S32_LE, channels, 48000, 500), 0);
    EXPECT_EQ(in.set(SND_PCM_FORMAT_S32_LE, 2, 48000, 500), 0);
    EXPECT_EQ(snd_pcm_start(in), 0);
    const Microseconds in_start = machine().events().back().t;
    usleep(3000);
    const auto frames = static_cast<long>(sent.size() / channels);
    EXPECT_EQ(snd_pcm_writei(out, sent.data(), frames), frames);
    EXPECT_EQ(snd_pcm_start(out), 0);
    const Microseconds out_start = machine().events().back().t;
    usleep(static_cast<useconds_t>(frames * 1000 / 48));
    const auto before = static_cast<long>(out_start * 48 / 1000 - in_start * 48 / 1000);
    std::vector<std::int32_t> heard(2 * (before + frames));
    EXPECT_EQ(snd_pcm_readi(in, heard.data(), before + frames), before + frames);
    heard.erase(heard.begin(), heard.begin() + 2 * before);
    return heard;
}

double db(double value) { return 20 * std::log10(std::max(value, 1e-10)); }

// RMS without the DC, and the DC.
std::pair<double, double> level_of(const std::vector<std::int32_t>& heard, unsigned input) {
    constexpr unsigned first = 2400, count = 19200;
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
    // 0.45 s of a tone of 1000 Hz and half of full scale.
    static std::vector<std::int32_t> tone_looped() {
        const unsigned channels = device().board() == Board::aes ? 6 : 4;
        std::vector<std::int32_t> tone(channels * 21600UL);
        for (std::size_t i = 0; i < tone.size(); ++i)
            if (i % channels < 2)
                tone[i] = static_cast<std::int32_t>(
                    0x1p30 * std::sin(2 * std::numbers::pi * (i / channels) / 48));
        return looped(channels, tone);
    }
};

TEST_F(AlsaLoopTest, TheAnalogLineIs40FramesLong) {
    device().sound_card().plug_analog(true);
    set_line_levels();
    std::vector<std::int32_t> click(6000);
    click[0] = 1 << 30;
    const std::vector<std::int32_t> heard = looped(6, click);
    for (int frame = 0; frame < 1000; ++frame)
        EXPECT_NEAR(std::ldexp(heard[2 * frame], -31), frame == 40 ? 0.5 : 0, 0.001) << frame;
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
        double dc_db = -66;
    } cases[] = {
        {Board::aes, "", "", {{line_in, {48, 48}}}, tone - 6.74, tone - 24, 0x01},
        {Board::aes, "", "", {{line_in, {24, 27}}}, tone, tone - 2.5 - 3, 0x20},
        {Board::aes, "", "", {{line_out, {120, 120}}, {more_in, {1, 2}}}, tone - 4, tone - 1},
        {Board::plain, "", "", {{boost, {0, 1}}, {line_in, {8, 1}}}, tone - 6.74, tone - 3},
        {Board::aes, "", "", {{"Line Out Playback Switch", {0, 1}}}, noise, tone},
        {Board::aes, "", "", {{"Line In Capture Switch", {1, 0}}}, tone, noise},
        {Board::aes, "analog-cable", "crossed", {{line_out, {120, 127}}}, tone, tone - 7},
        {Board::aes, "analog-cable", "left", {}, tone, noise},
        {Board::aes, "analog-cable", "right", {}, noise, tone},
        {Board::aes, "analog-cable", "phones", {{phones, {1, 0}}}, tone - 27, noise},
        // Clipped are 46 of 48 samples.
        {Board::aes, "analog-gain", "40", {}, -0.185, -0.185, 0, -71},
        {Board::aes, "analog-gain-left", "-6", {}, tone - 6, tone},
        {Board::aes, "analog-hum", "-60", {{line_out, {0, 0}}}, -63, -63},
        {Board::aes, "analog-noise", "-70", {{line_out, {0, 0}}}, -69.96, -69.96},
        {Board::aes, "analog-dc", "-30", {}, tone, tone, 0, -30},
        {Board::aes, "analog-droop", "1000", {}, tone - 8, tone - 8},
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
        const std::vector<std::int32_t> heard = tone_looped();
        for (const unsigned input : {0, 1}) {
            const auto [rms_db, dc_db] = level_of(heard, input);
            EXPECT_NEAR(rms_db, input == 0 ? row.left_db : row.right_db, 0.1);
            EXPECT_NEAR(dc_db, row.dc_db, 4.6);
        }
    }
}

} // namespace
