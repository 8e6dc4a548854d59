#include "alsa_client.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <string>

using namespace k4sim;

namespace {

using AlsaControlTest = AlsaTest;

// The stock configuration gives a control device one argument, the card.
TEST_F(AlsaControlTest, OpensUnderTheStockNames) {
    static constexpr struct {
        const char* name;
        int result;
    } cases[] = {
        {"hw:0", 0},       {"default", 0},     {"hw:K4", 0},          {"hw", 0},
        {"hw:1", -ENOENT}, {"hw:99", -EINVAL}, {"hw:Other", -ENODEV}, {"default:1", -ENOENT},
    };
    for (const auto& row : cases)
        EXPECT_EQ(Control(row.name).result, row.result) << row.name;
    EXPECT_EQ(Control("hw:0,1").result, -ENOENT);
    EXPECT_THAT(complaints(), testing::HasSubstr("Unknown parameter 1"));
    card().remove();
    EXPECT_EQ(Control("hw:0").result, -ENOENT);
}

TEST_F(AlsaControlTest, TheSettingsOfTheUserPlayNoPart) {
    const auto home = std::filesystem::temp_directory_path() / "k4sim-alsa-home";
    std::filesystem::create_directory(home);
    std::ofstream(home / ".asoundrc") << "ctl.!default { type nonsense }\n";
    const std::string former = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "";
    setenv("HOME", home.c_str(), 1);
    snd_config_update_free_global(); // the next use reads everything anew
    EXPECT_EQ(Control("default").result, 0) << complaints();
    setenv("HOME", former.c_str(), 1);
    std::filesystem::remove_all(home);
}

} // namespace
