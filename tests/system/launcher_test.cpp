// What k4sim says to a command line that can't be carried out, and how it ends when
// the program does not.
#include "virtual_run.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace k4test;

struct BadCase {
    std::string name;
    std::vector<std::string> arguments; // "{}" stands for the scratch folder
    std::string must_say;
};

class BadCommandLine : public testing::TestWithParam<BadCase> {};

std::string in_folder(std::string argument, const std::string& folder) {
    const std::size_t place = argument.find("{}");
    return place == std::string::npos ? argument : argument.replace(place, 2, folder);
}

TEST_P(BadCommandLine, IsOneLineAndStatusTwo) {
    ScratchFolder scratch;
    std::ofstream(scratch.path() / "plain.txt") << "no program\n";
    std::ofstream(scratch.path() / "script.sh") << "#!/bin/sh\n";
    chmod((scratch.path() / "script.sh").c_str(), 0755);
    std::ofstream(scratch.path() / "cut.elf", std::ios::binary) << "\177ELF";
    chmod((scratch.path() / "cut.elf").c_str(), 0755);

    std::vector<std::string> command = {K4_SIM};
    for (const std::string& argument : GetParam().arguments)
        command.push_back(in_folder(argument, scratch.path()));
    const CommandResult result = run_command(command);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1) << result.error;
    EXPECT_NE(result.error.find(GetParam().must_say), std::string::npos) << result.error;
    EXPECT_FALSE(std::filesystem::exists(scratch.path() / "record")) << "half-written record";
}

INSTANTIATE_TEST_SUITE_P(
    Launcher, BadCommandLine,
    testing::Values(
        BadCase{"no_command", {}, "run"}, BadCase{"unknown_command", {"fly"}, "fly"},
        BadCase{"no_program", {"run"}, "PROGRAM"},
        BadCase{"unknown_option",
                {"run", "--record", "{}/record", "--bord", "aes", "--", K4_PROGRAM},
                "--bord"},
        BadCase{"unknown_board",
                {"run", "--record", "{}/record", "--board", "aex", "--", K4_PROGRAM},
                "aex"},
        BadCase{"unknown_operator", {"run", "--operator", "bob", "--", K4_PROGRAM}, "bob"},
        BadCase{"bad_seed", {"run", "--seed", "-x", "--", K4_PROGRAM}, "-x"},
        BadCase{"bad_pace", {"run", "--pace", "0", "--", K4_PROGRAM}, "pace"},
        BadCase{"bad_limit", {"run", "--limit", "soon", "--", K4_PROGRAM}, "soon"},
        BadCase{"missing_value", {"run", "--board"}, "--board"},
        BadCase{"unknown_fault",
                {"run", "--record", "{}/record", "--fault", "gremlin", "--", K4_PROGRAM},
                "gremlin"},
        BadCase{"bad_fault_value", {"run", "--fault", "key-held=Z", "--", K4_PROGRAM}, "key-held"},
        BadCase{"absent_program", {"run", "--record", "{}/record", "--", "{}/absent"}, "absent"},
        BadCase{
            "not_executable", {"run", "--record", "{}/record", "--", "{}/plain.txt"}, "plain.txt"},
        BadCase{"no_elf_file", {"run", "--record", "{}/record", "--", "{}/script.sh"}, "script.sh"},
        BadCase{"cut_elf_file", {"run", "--record", "{}/record", "--", "{}/cut.elf"}, "cut.elf"},
        BadCase{"a_folder", {"run", "--", "{}"}, "not a file"},
        BadCase{"record_under_a_file",
                {"run", "--record", "{}/plain.txt/record", "--", K4_PROGRAM},
                "plain.txt"},
        BadCase{"absent_scenario",
                {"run", "--record", "{}/record", "--scenario", "{}/no.toml", "--", K4_PROGRAM},
                "no.toml"},
        BadCase{"scenario_is_no_toml",
                {"run", "--record", "{}/record", "--scenario", "{}/plain.txt", "--", K4_PROGRAM},
                "plain.txt"}),
    [](const auto& case_info) { return case_info.param.name; });

TEST(Launcher, ListsEveryFault) {
    const CommandResult result = run_command({K4_SIM, "faults"});
    EXPECT_EQ(result.status, 0);
    for (const char* name : {"key-held", "key-dead", "encoder-dead", "panel-dead", "speaker-absent",
                             "no-privilege", "thread-create"})
        EXPECT_NE(result.out.find(name), std::string::npos) << name;
}

TEST(Launcher, PassesAnyProgramsConsoleAndStatusThrough) {
    const CommandResult result =
        run_command({K4_SIM, "run", "--", "/bin/sh", "-c", "echo out; echo err >&2; exit 7"});
    EXPECT_EQ(result.status, 7);
    EXPECT_EQ(result.out, "out\n");
    EXPECT_EQ(result.error, "err\n");
}

TEST(Launcher, ReportsAProgramThatDies) {
    const CommandResult result =
        run_command({K4_SIM, "run", "--", "/bin/sh", "-c", "kill -SEGV $$"});
    EXPECT_EQ(result.status, 125);
    EXPECT_NE(result.error.find("signal"), std::string::npos) << result.error;
}

TEST(Launcher, KeepsTheRecordOfAProgramThatDies) {
    ScratchFolder scratch;
    const std::string record = scratch.path() / "record";
    const CommandResult result = run_command(
        {K4_SIM, "run", "--record", record, "--", "/bin/sh", "-c", "echo before; kill -SEGV $$"});
    EXPECT_EQ(result.status, 125);
    std::ifstream report(record + "/report.json");
    EXPECT_EQ(nlohmann::json::parse(report).value("verdict", ""), "DIED");
}

} // namespace
