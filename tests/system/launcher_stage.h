// k4sim as at a shell, in a folder of its own.
#pragma once

#include "virtual_run.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace k4test {

class LauncherStage : public testing::Test {
protected:
    // Words as for a shell, in a folder of its own.
    CommandResult shell(const std::string& script) const {
        return run_command({"/bin/sh", "-c", "cd " + folder_.path().string() + "; " + script});
    }

    CommandResult launch(const std::string& arguments) const {
        return shell("exec " K4_SIM " " + arguments);
    }

    // A shell in the program's place; its parent is the launcher.
    CommandResult run_script(const std::string& script) const {
        return launch("run --record record -- /bin/sh -c '" + script + "'");
    }

    void write(const std::string& name, const std::string& bytes, int mode = 0644) const {
        std::filesystem::create_directories(
            std::filesystem::path(folder_.file(name)).parent_path());
        std::ofstream(folder_.file(name), std::ios::binary) << bytes;
        std::filesystem::permissions(folder_.file(name), std::filesystem::perms(mode));
    }

    std::string recorded(const std::string& name) const {
        std::ostringstream text;
        text << std::ifstream(folder_.file("record/" + name), std::ios::binary).rdbuf();
        return text.str();
    }
    nlohmann::json report() const {
        return nlohmann::json::parse(recorded("report.json"), nullptr, false);
    }

    // With one line and status 2, and before there is a record. Returns the line.
    std::string expect_refused(const CommandResult& result) const {
        EXPECT_EQ(result.status, 2) << result.error;
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1) << result.error;
        EXPECT_FALSE(std::filesystem::exists(folder_.file("record"))) << "half-written record";
        return result.error;
    }

    const ScratchFolder folder_;
};

} // namespace k4test
