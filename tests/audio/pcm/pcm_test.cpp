#include "audio/pcm.h"

#include "alsa_calls.h"
#include "baselib/print/print.h"

#include <alsa/asoundlib.h>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <unistd.h>

namespace {

using Log = std::vector<std::string>;
using testing::ElementsAre;

constexpr int allChannels = -1;

// Runs body and returns what it printed.
template <class Body>
std::string printed(Body body) {
    testing::internal::CaptureStdout();
    body();
    return testing::internal::GetCapturedStdout();
}

// A folder with a configuration of ALSA whose devices are files: "player" writes played.raw,
// "recorder" reads recorded.raw.
class Devices : public testing::Environment {
public:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "pcmXXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
        std::ofstream(folder / "asound.conf")
            << "</usr/share/alsa/alsa.conf>\n"
            << "pcm.player { type file slave.pcm null format raw file " << folder / "played.raw"
            << " }\n"
            << "pcm.recorder { type file slave.pcm null format raw file /dev/null infile "
            << folder / "recorded.raw"
            << " }\n";
        std::ofstream(folder / "recorded.raw").close();
        setenv("ALSA_CONFIG_PATH", (folder / "asound.conf").c_str(), 1);
    }
    void TearDown() override {
        snd_config_update_free_global();
        std::filesystem::remove_all(folder);
    }

    static std::filesystem::path folder;
};
std::filesystem::path Devices::folder;
const auto* const devices = testing::AddGlobalTestEnvironment(new Devices);

std::string played() {
    std::ifstream file(Devices::folder / "played.raw", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

template <class Buffer>
std::string bytes(const Buffer& buffer, int first, int frames) {
    const auto frameBytes = static_cast<std::size_t>(buffer.frameBytes());
    return std::string(reinterpret_cast<const char*>(buffer.data()) + first * frameBytes,
                       frames * frameBytes);
}

class Pcm : public testing::Test {
protected:
    ~Pcm() override {
        player.close();
        recorder.close();
        takeAlsaLog();
    }

    void openBoth(int channels = 2, int format = 0) {
        ASSERT_EQ(player.open("player"), 0);
        ASSERT_EQ(recorder.open("recorder"), 0);
        ASSERT_EQ(player.configure(48000, channels, false, 200, format), 0);
        ASSERT_EQ(recorder.configure(48000, channels, false, 200, format), 0);
        takeAlsaLog();
    }

    KLTalsaPCMplay player;
    KLTalsaPCMreco recorder;
    KLTalsaBuf16 buffer{48000, 2, 100};
    KLTalsaBuf32 buffer32{48000, 2, 100};
};

TEST_F(Pcm, OpeningFailsWithItsCodes) {
    struct Refusing : KLTalsaPCMplay {
        int result = 0;
        int openDev(const char*, int mode, void**) override {
            EXPECT_EQ(mode, 1);
            return result;
        }
    } refusing;
    EXPECT_EQ(player.open(nullptr), -9148);
    EXPECT_EQ(player.open(""), -9148);
    EXPECT_EQ(player.open("no-such-device"), -9147);
    EXPECT_EQ(recorder.open("no-such-device"), -9147);
    for (const auto& [error, code] :
         {std::pair{-EBUSY, -9146}, {-ENOENT, -9147}, {-EACCES, -9147}}) {
        refusing.result = error;
        EXPECT_EQ(refusing.open("hw:0,0"), code);
        EXPECT_EQ(refusing.restart(), -9145);
    }
}

TEST_F(Pcm, NothingWorksUnlessOpen) {
    const auto check = [&] {
        for (KLTalsaPCMbase* pcm :
             {static_cast<KLTalsaPCMbase*>(&player), static_cast<KLTalsaPCMbase*>(&recorder)}) {
            EXPECT_EQ(pcm->configure(48000, 2, false, 100, 0), -9145);
            EXPECT_EQ(pcm->blocking(true), -9145);
            EXPECT_EQ(pcm->blocking(false), 0); // as it is
            EXPECT_EQ(pcm->stop(), -9145);
            EXPECT_EQ(pcm->restart(), -9145);
        }
        EXPECT_EQ(player.play(buffer.data(), 2), -9145);
        EXPECT_EQ(player.play(buffer), -9145);
        EXPECT_EQ(recorder.start(), -9145);
        EXPECT_EQ(recorder.record(buffer.data(), 2), -9145);
        EXPECT_EQ(recorder.record(buffer), -9145);
        buffer.advance(buffer.frames());
        EXPECT_EQ(player.play(buffer), 0); // done
        EXPECT_EQ(recorder.record(buffer), 0);
        buffer.setFrameLimit(0);
    };
    EXPECT_EQ(printed(check), "");
    openBoth();
    player.close();
    recorder.close();
    EXPECT_THAT(takeAlsaLog(), ElementsAre("close", "close"));
    check();
}

TEST_F(Pcm, OpeningAgainClosesFirst) {
    openBoth();
    ASSERT_EQ(player.open("player"), 0);
    EXPECT_THAT(takeAlsaLog(), ElementsAre("close"));
    EXPECT_EQ(player.rate(), 0);
    EXPECT_EQ(player.open(""), -9148);
    EXPECT_THAT(takeAlsaLog(), ElementsAre("close"));
    EXPECT_EQ(player.restart(), -9145);
}

TEST_F(Pcm, Configures) {
    ASSERT_EQ(player.open("player"), 0);
    const int formats[] = {SND_PCM_FORMAT_S16_LE, SND_PCM_FORMAT_S24_LE, SND_PCM_FORMAT_S32_LE,
                           SND_PCM_FORMAT_FLOAT_LE};
    for (const int format : {-1, 4}) {
        EXPECT_EQ(player.configure(48000, 2, false, 100, format), -9143);
        EXPECT_EQ(takeAlsaLog(), Log{});
        EXPECT_EQ(player.rate(), 0);
    }
    EXPECT_EQ(player.play(buffer.data(), 1), -9149);
    for (int format = 0; format < 4; ++format) {
        ASSERT_EQ(player.open("player"), 0);
        takeAlsaLog();
        EXPECT_EQ(player.configure(44100, 6, format > 1, 250, format), 0);
        EXPECT_EQ(takeAlsaLog(), Log{"set_params " + std::to_string(formats[format]) +
                                     " 3 6 44100 " + (format > 1 ? "1" : "0") + " 250000"});
        EXPECT_EQ(player.bufferFrames(), 11025);
        EXPECT_EQ(player.getBufMsec(), 250);
    }
    ASSERT_EQ(player.open("player"), 0);
    answerNext("set_params", -EINVAL);
    EXPECT_EQ(player.configure(48000, 2, false, 100, 0), -9149);
    EXPECT_EQ(player.rate(), 0);
}

TEST_F(Pcm, BlockingKeepsItsField) {
    openBoth();
    EXPECT_EQ(player.blocking(false), 0);
    EXPECT_EQ(takeAlsaLog(), Log{});
    EXPECT_EQ(player.blocking(true), 0);
    EXPECT_EQ(player.blocking(true), 0);
    EXPECT_EQ(player.blocking(false), 0);
    EXPECT_THAT(takeAlsaLog(), ElementsAre("nonblock 0", "nonblock 0"));
    EXPECT_FALSE(player.blocking());
    answerNext("nonblock", -EINVAL);
    EXPECT_EQ(player.blocking(true), -9149);
}

TEST_F(Pcm, PlaysWhatRemains) {
    openBoth();
    double phase = 0;
    buffer.fillSine(997, 0.5, phase, allChannels);
    buffer.setFrameLimit(1000);
    for (const auto& [answer, result, position] : {std::tuple{-EAGAIN, 1000, 0},
                                                   {300, 700, 300},
                                                   {-EPIPE, -9144, 300},
                                                   {-ENODEV, -9149, 300}}) {
        answerNext("writei", answer);
        EXPECT_EQ(player.play(buffer), result);
        EXPECT_EQ(buffer.position(), position);
    }
    EXPECT_EQ(player.play(buffer), 0);
    EXPECT_EQ(buffer.position(), 1000);
    EXPECT_THAT(takeAlsaLog(), ElementsAre("writei 1000", "writei 1000", "writei 700", "writei 700",
                                           "writei 700"));
    EXPECT_EQ(player.play(buffer), 0);
    EXPECT_EQ(takeAlsaLog(), Log{});
    player.close();
    EXPECT_TRUE(played() == bytes(buffer, 300, 700));
}

TEST_F(Pcm, Plays32Bits) {
    openBoth(2, 2);
    buffer32.fillNoise(1.0);
    EXPECT_EQ(player.play(buffer), -9148); // its frames are smaller than configured
    EXPECT_EQ(recorder.record(buffer), -9148);
    EXPECT_EQ(takeAlsaLog(), Log{});
    EXPECT_EQ(player.play(buffer32), 0);
    player.close();
    EXPECT_TRUE(played() == bytes(buffer32, 0, buffer32.frames()));
}

// The forms that take plain data.
TEST_F(Pcm, TransfersData) {
    openBoth();
    for (const auto& [data, frames] : {std::pair<int16_t*, int>{nullptr, 1}, {buffer.data(), -1}}) {
        EXPECT_EQ(player.play(data, frames), -9148);
        EXPECT_EQ(recorder.record(data, frames), -9148);
    }
    EXPECT_EQ(recorder.record(buffer.data(), 0), -9148);
    EXPECT_EQ(takeAlsaLog(), Log{});
    for (const auto& [answer, result] :
         {std::pair{17, 17}, {-EAGAIN, 0}, {-EPIPE, -9149}, {-EIO, -9149}}) {
        answerNext("writei", answer);
        EXPECT_EQ(player.play(buffer.data(), 100), result);
    }
    answerNext("readi", -EAGAIN);
    EXPECT_EQ(printed([&] { EXPECT_EQ(recorder.record(buffer.data(), 1), 0); }), "");
    answerNext("readi", -EPIPE);
    EXPECT_EQ(printed([&] { EXPECT_EQ(recorder.record(buffer.data(), 1), -9149); }),
              "record() -32: Broken pipe\r\n");
    answerNext("start", -EIO);
    EXPECT_EQ(printed([&] { EXPECT_EQ(recorder.start(), -9149); }),
              "start() -5: Input/output error\r\n");
}

TEST_F(Pcm, RecordsIntoWhatRemains) {
    std::mt19937 random(1);
    std::string recorded(4800 * 4, '\0');
    for (char& byte : recorded)
        byte = static_cast<char>(random());
    std::ofstream(Devices::folder / "recorded.raw", std::ios::binary) << recorded;
    openBoth();
    EXPECT_EQ(recorder.start(), 0);
    buffer.setFrameLimit(480);
    for (const auto& [answer, result] : {std::pair{-EAGAIN, 480}, {-EPIPE, -9144}, {-EIO, -9149}}) {
        answerNext("readi", answer);
        EXPECT_EQ(recorder.record(buffer), result);
    }
    EXPECT_EQ(recorder.record(buffer), 0);
    buffer.setFrameLimit(0);
    buffer.advance(480);
    EXPECT_EQ(recorder.record(buffer.next(), 20), 20);
    buffer.advance(20);
    EXPECT_EQ(recorder.record(buffer), 0);
    EXPECT_TRUE(bytes(buffer, 0, 4800) == recorded);
    EXPECT_THAT(takeAlsaLog(), ElementsAre("start", "readi 480", "readi 480", "readi 480",
                                           "readi 480", "readi 20", "readi 4300"));
}

TEST_F(Pcm, StopsAndRestarts) {
    openBoth();
    EXPECT_EQ(printed([&] {
                  EXPECT_EQ(player.stop(), 0);
                  EXPECT_THAT(takeAlsaLog(),
                              ElementsAre("nonblock 0", "drain", "prepare", "nonblock 1"));
                  EXPECT_EQ(player.restart(), 0);
                  EXPECT_THAT(takeAlsaLog(), ElementsAre("prepare"));
              }),
              "");
    const struct {
        const char* call;
        const char* text;
        std::size_t calls;
    } cases[] = {{"nonblock", "snd_pcm_nonblock(0) -5: Input/output error\r\n", 1},
                 {"drain", "snd_pcm_drain() -5: Input/output error\r\n", 2},
                 {"prepare", "snd_pcm_prepare() -5: Input/output error\r\n", 3}};
    for (const auto& c : cases) {
        answerNext(c.call, -EIO);
        EXPECT_EQ(printed([&] { EXPECT_EQ(player.stop(), -9149); }), c.text);
        EXPECT_EQ(takeAlsaLog().size(), c.calls);
    }
    answerNext("prepare", -EIO);
    EXPECT_EQ(printed([&] {
                  pout.width(3); // another thread is about to print
                  EXPECT_EQ(player.restart(), -EIO);
                  pout << 1;
              }),
              "snd_pcm_prepare() -5: Input/output error\r\n  1");
}

TEST_F(Pcm, DemonstrationsPlayAToneOrLoop) {
    EXPECT_EQ(printed([&] { EXPECT_EQ(player.demoSinePlayout("player", 2), 0); }),
              "24000 in buffer\r\n");
    const std::string tone = played();
    KLTalsaBuf16 expected(48000, 2, 2000);
    double phase = 0;
    expected.fillSine(1000, -20.0, phase, allChannels);
    EXPECT_TRUE(tone == bytes(expected, 0, expected.frames()));
    answerNext("writei", -EPIPE); // recovered from
    EXPECT_EQ(printed([&] { EXPECT_EQ(player.demoSinePlayout2("player", 2), 0); }), "");
    EXPECT_TRUE(played() == tone);
    EXPECT_EQ(player.restart(), -9145); // closed
    const std::string recorded(96000 * 4, 'x');
    std::ofstream(Devices::folder / "recorded.raw", std::ios::binary) << recorded;
    answerNext("readi", -EPIPE);
    EXPECT_EQ(printed([&] { EXPECT_EQ(recorder.demoLoop1("player", "recorder", 2), 0); }), "");
    EXPECT_TRUE(played() == recorded);
}

TEST_F(Pcm, DemonstrationsTellWhatFails) {
    using Demonstration = std::function<int()>;
    const Demonstration tone = [&] { return player.demoSinePlayout("player", 1); };
    const Demonstration tone2 = [&] { return player.demoSinePlayout2("player", 1); };
    const Demonstration loop = [&] { return recorder.demoLoop1("player", "recorder", 1); };
    const struct {
        const Demonstration run;
        const char* call;
        const char* text;
    } cases[] = {
        {[&] { return player.demoSinePlayout("nowhere", 1); }, "", "PCM open error -9147\r\n"},
        {tone, "set_params", "PCM configure error -9149\r\n"},
        {tone, "nonblock", "PCM blocking mode error -9149\r\n"},
        {tone, "writei", "24000 in buffer\r\nPlayback error -9149\r\n"},
        {tone2, "writei", "Playback error -9149\r\n"},
        {[&] { return recorder.demoLoop1("nowhere", "recorder", 1); }, "",
         "Playback PCM open error -9147\r\n"},
        {[&] { return recorder.demoLoop1("player", "nowhere", 1); }, "",
         "Recording PCM open error -9147\r\n"},
        {loop, "set_params", "Playback PCM configure error -9149\r\n"},
        {loop, "nonblock", "Playback PCM blocking mode error -9149\r\n"},
        {loop, "writei", "Playback error -9149\r\n"},
    };
    for (const auto& c : cases) {
        if (*c.call) answerNext(c.call, -EIO);
        EXPECT_EQ(printed([&] { EXPECT_LT(c.run(), 0); }), c.text);
    }
}

} // namespace
