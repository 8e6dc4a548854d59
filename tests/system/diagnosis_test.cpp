// The way back: what k4sim diagnose makes of a run, with another seed than it has learned from.
#include "launcher_stage.h"

#include <gmock/gmock.h>

namespace {

using namespace k4test;
using testing::HasSubstr;
using testing::Not;

class WayBack : public LauncherStage {
protected:
    nlohmann::json asked(const std::string& what, int status = 0) const {
        const CommandResult result = launch("diagnose --json " + what);
        EXPECT_EQ(result.status, status) << result.error;
        return nlohmann::json::parse(result.out, nullptr, false);
    }
};

TEST_F(WayBack, LeadsFromARecordToItsFault) {
    const struct {
        const char* board;
        const char* fault;
    } cases[] = {
        {"plain", "link-down=eth0"}, {"aes", "aes-rate-dead=44100"}, {"aes", "no-privilege"}};
    for (const auto& [board, fault] : cases) {
        launch(std::string("run --seed 7 --limit 600 --record record --board ") + board +
               " --fault " + fault + " -- " K4_PROGRAM " run");
        const nlohmann::json answer = asked("--record record");
        EXPECT_EQ(answer["board"], board);
        EXPECT_THAT(answer["candidates"].dump(), HasSubstr(fault));
        EXPECT_THAT(answer["symptoms"].dump(), Not(HasSubstr(fault)))
            << "looked at what it is asked";
        const std::string page = recorded("report.html"), data = "\"diagnosis\":";
        EXPECT_THAT(page, HasSubstr(data + "{\"state\":\"found\""));
        EXPECT_THAT(page, HasSubstr("\"fault\":\"" + std::string(fault) + "\""));
    }
    EXPECT_THAT(asked("record/console.txt")["candidates"].dump(), HasSubstr("no-privilege"));
    EXPECT_EQ(launch("diagnose record").out, launch("diagnose --record record").out);
}

TEST_F(WayBack, EndsWhereNothingIsKnown) {
    launch("run --record record -- " K4_PROGRAM " run");
    EXPECT_EQ(asked("--record record")["state"], "nothing failed");
    EXPECT_THAT(recorded("report.html"), Not(HasSubstr("\"diagnosis\":{")));
    EXPECT_EQ(asked("usb='Paper jam'", 1)["state"], "unknown");
    EXPECT_THAT(asked("front=5 eth=OK")["candidates"].dump(), HasSubstr("key-dead=5"));
    for (const char* wrong : {"gone", "--judge .", "--learn gone"})
        EXPECT_EQ(launch(std::string("diagnose ") + wrong).status, 2) << wrong;
}

} // namespace
