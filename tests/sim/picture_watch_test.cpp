#include "sim/machine/picture_watch.h"

#include "fake_surroundings.h"

#include <gmock/gmock.h>

using namespace k4sim;
using testing::ElementsAre;

namespace {

class PictureWatchTest : public testing::Test {
protected:
    void show(const char* picture) {
        glass_ = picture;
        watch_.changed();
    }

    using Seen = std::pair<Microseconds, std::string>;
    FakeSurroundings surroundings_;
    std::string glass_;
    std::vector<Seen> seen_;
    PictureWatch watch_{surroundings_, [this] { return glass_; },
                        [this](Microseconds appeared, const std::string& picture) {
                            seen_.emplace_back(appeared, picture);
                        }};
};

TEST_F(PictureWatchTest, APictureThatStoodIsKeptWithTheTimeOfItsAppearance) {
    surroundings_.advance(10);
    show("a");
    surroundings_.advance(standing_us - 1);
    EXPECT_THAT(seen_, ElementsAre());
    surroundings_.advance(1);
    EXPECT_THAT(seen_, ElementsAre(Seen(10, "a")));
    surroundings_.advance(10 * standing_us);
    EXPECT_EQ(seen_.size(), 1u);
}

TEST_F(PictureWatchTest, APictureThatIsReplacedInTimeIsNot) {
    show("a");
    surroundings_.advance(standing_us - 1);
    show("b");
    surroundings_.advance(standing_us - 1);
    show("c");
    surroundings_.advance(standing_us);
    EXPECT_THAT(seen_, ElementsAre(Seen(2 * (standing_us - 1), "c")));
}

// A whole picture that the program clears at once: the last one that an operator could see.
TEST_F(PictureWatchTest, TheLastLitPictureIsKeptHoweverShortItStood) {
    show("11");
    surroundings_.advance(standing_us);
    show("12");
    watch_.complete();
    surroundings_.advance(5);
    show("02"); // being erased
    show("00");
    watch_.complete();
    watch_.end();
    EXPECT_THAT(seen_, ElementsAre(Seen(0, "11"), Seen(standing_us, "12")));
    watch_.end();
    EXPECT_EQ(seen_.size(), 2u);
}

TEST_F(PictureWatchTest, TheLastLitPictureIsNotKeptTwice) {
    show("11");
    watch_.complete();
    surroundings_.advance(standing_us);
    watch_.complete();
    show("00");
    surroundings_.advance(standing_us);
    watch_.end();
    EXPECT_THAT(seen_, ElementsAre(Seen(0, "11"), Seen(standing_us, "00")));
}

} // namespace
