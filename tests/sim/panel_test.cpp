// What a panel outside the process is built of: levels, advice, and who may call.
#include "sim/models/sound/level_meter.h"
#include "sim/operator/advice.h"
#include "sim/panel/origin.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>
#include <cstring>

namespace {

using namespace k4sim;

// Two channels of 480 frames: a sine of that peak, at an offset, and nothing.
template <class Sample>
std::vector<Sample> sine_and_silence(double full, double peak, double offset) {
    std::vector<Sample> samples;
    for (int frame = 0; frame < 480; ++frame) {
        const double level = offset + peak * std::sin(2 * M_PI * frame / 48);
        samples.push_back(static_cast<Sample>(level * full));
        samples.push_back(0);
    }
    return samples;
}

TEST(LevelMeter, TellsRmsAndDcOfEachChannel) {
    const auto in_s16 = sine_and_silence<std::int16_t>(32768.0, 0.5, 0.25);
    const auto in_s24 = sine_and_silence<std::int32_t>(8388608.0, 0.5, 0.25);
    const auto in_s32 = sine_and_silence<std::int32_t>(2147483648.0, 0.5, 0.25);
    const auto in_float = sine_and_silence<float>(1.0, 0.5, 0.25);
    const std::pair<SampleFormat, const void*> cases[] = {{SampleFormat::s16, in_s16.data()},
                                                          {SampleFormat::s24, in_s24.data()},
                                                          {SampleFormat::s32, in_s32.data()},
                                                          {SampleFormat::float32, in_float.data()}};
    LevelMeter meter;
    for (const auto& [format, samples] : cases) {
        meter.add(samples, format, 2, 480);
        const auto levels = meter.take();
        ASSERT_EQ(levels.size(), 2U);
        EXPECT_NEAR(levels[0].rms_db, 20 * std::log10(0.5) - 3.0103, 0.01);
        EXPECT_NEAR(levels[0].dc_db, 20 * std::log10(0.25), 0.01);
        EXPECT_EQ(levels[1].rms_db, -200);
        EXPECT_TRUE(meter.take().empty());
    }
}

TEST(Advice, IsWhatTheGlassAndTheConsoleAskFor) {
    const struct {
        const char *label, *status, *console;
        bool analog, digital;
        std::string action;
    } cases[] = {
        {"Frontpanel", "5*#KEACDMhH", "", false, false, "press 5"},
        {"Frontpanel", "LRhH", "", false, false, "turn 1 -1"},
        {"Frontpanel", "hH", "", false, false, "turn 2 -1"},
        {"Frontpanel", "Missing Hr", "", false, false, "turn 2 1"},
        {"Frontpanel", "Missing M Hr", "", false, false, "press K"},
        {"Frontpanel", "OK", "", false, false, ""},
        {"AnalogAudio", "Silence/DC 1.0 1.0 -20.0 -20.0", "", true, false, "unplug analog"},
        {"AnalogAudio", "Voltages, loopback", "Check for loopback audio", false, false,
         "plug analog"},
        {"AnalogAudio", "Voltages, loopback", "Check for loopback audio", true, false, ""},
        {"AES/EBU", "Wait for 32000 Hz 'LOCK'", "", false, false, "plug digital"},
        {"AES/EBU", "Wait for cable unplugged", "", false, true, "unplug digital"},
        {"AES/EBU", "Wait for cable unplugged", "", false, false, ""},
    };
    for (const auto& row : cases) {
        const Advice advice =
            next_step({false, {{row.label, row.status}}, row.console, row.analog, row.digital});
        EXPECT_EQ(advice.action, row.action) << row.status;
        EXPECT_NE(advice.why, "");
    }
    EXPECT_EQ(next_step({true, {}, "", false, false}).action, "press 0");
}

TEST(Origin, IsOfThisServerAlone) {
    const struct {
        const char *host, *address;
        bool own;
    } cases[] = {
        {"127.0.0.1:8470", "127.0.0.1", true},
        {"localhost:8470", "127.0.0.1", true},
        {"[::1]:8470", "::1", true},
        {"localhost:8471", "127.0.0.1", false},
        {"localhost", "127.0.0.1", false},
        {"evil.example:8470", "127.0.0.1", false},
        {"127.0.0.1.evil:8470", "0.0.0.0", false},
        {"192.0.2.7:8470", "0.0.0.0", true},
        {"192.0.2.7:8470", "127.0.0.1", false},
        {"evil.example:8470", "::", false},
    };
    for (const auto& row : cases)
        EXPECT_EQ(is_own_host(row.host, row.address, 8470), row.own) << row.host;
    EXPECT_TRUE(is_own_origin("http://localhost:8470", "localhost:8470"));
    for (const char* origin : {"null", "http://localhost", "https://localhost:8470"})
        EXPECT_FALSE(is_own_origin(origin, "localhost:8470")) << origin;
}

} // namespace
