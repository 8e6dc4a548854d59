#include "sim/machine/picture_watch.h"

#include "fake_surroundings.h"

#include <gmock/gmock.h>
#include <iterator>

using namespace k4sim;

namespace {

constexpr Microseconds stands = standing_us;

using Seen = std::vector<std::pair<Microseconds, std::string>>;

// A picture and how long it stands. The program writes text when it is complete.
struct Shown {
    const char* picture;
    Microseconds for_us;
    bool complete = false;
};

TEST(PictureWatch, KeepsWhatStoodAndTheLastLitPicture) {
    ASSERT_EQ(standing_us, 500'000);
    const struct {
        std::vector<Shown> shown;
        Seen seen, at_the_end;
    } cases[] = {
        {{{"0", 10}, {"a", stands - 1}, {"b", stands - 1}, {"c", stands}},
         {{2 * stands + 8, "c"}},
         {}},
        {{{"a", 10 * stands}, {"a", stands}}, {{0, "a"}}, {}},
        // A whole picture that the program clears at once.
        {{{"11", stands}, {"12", 5, true}, {"02", 0}, {"00", 7, true}},
         {{0, "11"}},
         {{stands, "12"}}},
        // The last lit picture, which stood: not twice.
        {{{"11", stands, true}, {"00", stands}}, {{0, "11"}, {stands, "00"}}, {}},
        {{{"11", 0, true}, {"11", stands}, {"00", 0}}, {{0, "11"}}, {}},
    };
    for (const auto& [shown, seen, at_the_end] : cases) {
        SCOPED_TRACE(shown.back().picture);
        FakeSurroundings surroundings;
        std::string glass;
        Seen kept;
        PictureWatch watch(
            surroundings, [&] { return glass; },
            [&](Microseconds appeared, const std::string& picture) {
                kept.emplace_back(appeared, picture);
            });
        for (const auto& [picture, for_us, complete] : shown) {
            glass = picture;
            watch.changed();
            if (complete) watch.complete();
            surroundings.advance(for_us);
        }
        EXPECT_EQ(std::exchange(kept, {}), seen);
        watch.end();
        watch.end();
        EXPECT_EQ(kept, at_the_end);
    }
}

} // namespace
