// Runs that someone breaks off from outside: the program ends, its record is complete.
#include "virtual_run.h"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>

namespace {

using namespace k4test;

struct Broken {
    CommandResult result;
    nlohmann::json report;
};

// The script's parent is the launcher.
Broken run_script(const std::string& script) {
    ScratchFolder scratch;
    const std::string record = scratch.path() / "record";
    Broken broken;
    broken.result = run_command({K4_SIM, "run", "--record", record, "--", "/bin/sh", "-c", script});
    std::ifstream file(record + "/report.json");
    broken.report = nlohmann::json::parse(file, nullptr, false);
    return broken;
}

TEST(BrokenOff, ARequestToTerminateIsHandedOnToTheProgram) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer holds a signal back while the launcher reads";
#endif
    // The limit of processor time ends the script where nobody does.
    const Broken broken = run_script("ulimit -t 20; kill -TERM $PPID; while :; do :; done");
    EXPECT_EQ(broken.result.status, 125);
    EXPECT_EQ(broken.report.value("signal", 0), SIGTERM);
    EXPECT_EQ(broken.report.value("verdict", ""), "DIED");
}

TEST(BrokenOff, AnInterruptFromTheKeyboardIsTheProgramsToAnswer) {
    const Broken broken = run_script("kill -INT $PPID; kill -QUIT $PPID; echo on; exit 3");
    EXPECT_EQ(broken.result.status, 3);
    EXPECT_EQ(broken.result.out, "on\n");
    EXPECT_EQ(broken.report.value("status", 0), 3);
}

} // namespace
