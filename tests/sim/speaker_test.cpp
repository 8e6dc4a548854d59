#include "fake_surroundings.h"
#include "sim/models/panel/speaker.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

class SpeakerTest : public testing::Test {
protected:
    FakeSurroundings surroundings;
    k4sim::Speaker speaker{surroundings};
};

TEST_F(SpeakerTest, AToneEndsByItself) {
    speaker.tone(2386, 100);
    EXPECT_EQ(speaker.frequency_hz(), 500u);
    surroundings.advance(99'999);
    EXPECT_TRUE(speaker.sounding());
    surroundings.advance(1);
    EXPECT_FALSE(speaker.sounding());
    EXPECT_EQ(speaker.frequency_hz(), 0u);
    EXPECT_THAT(surroundings.events,
                ElementsAre("speaker tone divider=2386 hz=500 ms=100", "speaker silence"));
}

TEST_F(SpeakerTest, ASoundLastsUntilItIsStopped) {
    speaker.set_divider(1193);
    surroundings.advance(3'600'000'000);
    EXPECT_EQ(speaker.frequency_hz(), 1000u);
    speaker.set_divider(0);
    speaker.set_divider(0);
    EXPECT_FALSE(speaker.sounding());
    EXPECT_THAT(surroundings.events,
                ElementsAre("speaker sound divider=1193 hz=1000", "speaker silence"));
}

TEST_F(SpeakerTest, ALaterToneIsNotCutByTheEndOfAnEarlierOne) {
    speaker.tone(2386, 100);
    surroundings.advance(60'000);
    speaker.tone(1193, 100);
    surroundings.advance(60'000);
    EXPECT_EQ(speaker.frequency_hz(), 1000u);
    surroundings.advance(40'000);
    EXPECT_FALSE(speaker.sounding());
    EXPECT_EQ(speaker.peek_tones(), 2u);
}

TEST_F(SpeakerTest, TellsAnObserverOfEachBeginningAndEnd) {
    std::vector<std::uint32_t> heard;
    speaker.set_on_change([&] { heard.push_back(speaker.frequency_hz()); });
    speaker.tone(2386, 100);
    speaker.set_divider(1193);
    surroundings.advance(200'000);
    speaker.set_divider(0);
    EXPECT_THAT(heard, ElementsAre(500, 1000, 0));
}

} // namespace
