// What k4sim says to a command line that can't be carried out, and how it ends when the
// program does not, or when someone breaks it off from outside.
#include "virtual_run.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>

namespace {

using namespace k4test;

// k4sim's command line as for a shell, in a folder of its own.
CommandResult launch(const ScratchFolder& folder, const std::string& arguments) {
    const std::string script = "cd " + folder.path().string() + "; exec " K4_SIM " " + arguments;
    return run_command({"/bin/sh", "-c", script});
}

TEST(Launcher, AnswersABadCommandLineWithOneLineAndStatusTwo) {
    const struct {
        const char* arguments;
        const char* must_say;
    } cases[] = {
        {"", "run"},
        {"fly", "fly"},
        {"run", "PROGRAM"},
        {"run --record record --bord aes -- " K4_PROGRAM, "--bord"},
        {"run --record record --board aex -- " K4_PROGRAM, "aex"},
        {"run --operator bob -- " K4_PROGRAM, "bob"},
        {"run --seed -x -- " K4_PROGRAM, "-x"},
        {"run --pace 0 -- " K4_PROGRAM, "pace"},
        {"run --limit soon -- " K4_PROGRAM, "soon"},
        {"run --board", "--board"},
        {"run --record record --fault gremlin -- " K4_PROGRAM, "gremlin"},
        {"run --fault key-held=Z -- " K4_PROGRAM, "key-held"},
        {"run --record record -- ./absent", "absent"},
        {"run --record record -- ./plain.txt", "plain.txt"},
        {"run --record record -- ./script.sh", "script.sh"},
        {"run --record record -- ./cut.elf", "cut.elf"},
        {"run -- .", "not a file"},
        {"run --record plain.txt/record -- " K4_PROGRAM, "plain.txt"},
        {"run --record record --scenario no.toml -- " K4_PROGRAM, "no.toml"},
        {"run --record record --scenario plain.txt -- " K4_PROGRAM, "plain.txt"},
    };
    const ScratchFolder folder;
    std::ofstream(folder.path() / "plain.txt") << "no program\n";
    std::ofstream(folder.path() / "script.sh") << "#!/bin/sh\n";
    std::ofstream(folder.path() / "cut.elf") << "\177ELF";
    for (const char* name : {"script.sh", "cut.elf"})
        std::filesystem::permissions(folder.path() / name, std::filesystem::perms(0755));
    for (const auto& [arguments, must_say] : cases) {
        SCOPED_TRACE(arguments);
        const CommandResult result = launch(folder, arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1) << result.error;
        EXPECT_NE(result.error.find(must_say), std::string::npos) << result.error;
        EXPECT_FALSE(std::filesystem::exists(folder.path() / "record")) << "half-written record";
    }
}

// An interrupt from the keyboard is the program's to answer.
TEST(Launcher, PassesAnyProgramsConsoleAndStatusThrough) {
    const ScratchFolder folder;
    const CommandResult result =
        launch(folder, "run -- /bin/sh -c '"
                       "kill -INT $PPID; kill -QUIT $PPID; echo out; echo err >&2; exit 7'");
    EXPECT_EQ(result.status, 7);
    EXPECT_EQ(result.out, "out\n");
    EXPECT_EQ(result.error, "err\n");
}

struct ScriptRun {
    CommandResult result;
    nlohmann::json report;
};

// A shell in the program's place; its parent is the launcher.
ScriptRun run_script(const std::string& script) {
    const ScratchFolder folder;
    ScriptRun run;
    run.result = launch(folder, "run --record record -- /bin/sh -c '" + script + "'");
    std::ifstream file(folder.path() / "record" / "report.json");
    run.report = nlohmann::json::parse(file, nullptr, false);
    return run;
}

TEST(Launcher, ReportsAProgramThatDies) {
    const ScriptRun run = run_script("echo before; kill -SEGV $$");
    EXPECT_EQ(run.result.status, 125);
    EXPECT_NE(run.result.error.find("signal"), std::string::npos) << run.result.error;
    EXPECT_EQ(run.report.value("verdict", ""), "DIED");
}

TEST(Launcher, HandsARequestToTerminateOnToTheProgram) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer holds a signal back while the launcher reads";
#endif
    // The limit of processor time ends the script where nobody does.
    const ScriptRun run = run_script("ulimit -t 20; kill -TERM $PPID; while :; do :; done");
    EXPECT_EQ(run.result.status, 125);
    EXPECT_EQ(run.report.value("signal", 0), SIGTERM);
    EXPECT_EQ(run.report.value("verdict", ""), "DIED");
}

} // namespace
