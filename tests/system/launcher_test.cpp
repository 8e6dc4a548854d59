// What k4sim says to a command line that can't be carried out, and how it ends when the
// program does not, or when someone breaks it off from outside.
#include "golden.h"
#include "launcher_stage.h"
#include "support/pseudo_terminal.h"

#include <algorithm>
#include <csignal>
#include <elf.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <link.h>
#include <regex>
#include <sstream>

namespace {

using namespace k4test;
namespace fs = std::filesystem;

// Of programs that there is a library for.
const std::vector<std::string> word_sizes =
    sizeof(long) == 4 ? std::vector<std::string>{"64", "32"} : std::vector<std::string>{"64"};

class Launcher : public LauncherStage {};

TEST_F(Launcher, RefusesABadCommandLine) {
    write("plain.txt", "no program\n");
    write("script.sh", "#!/bin/sh\n", 0755);
    write("i2c.toml", "board = \"i2c\"\n[[step]]\nat = 1\ndo = \"fault sda-stuck=0\"\n");
    shell("mkfifo pipe; truncate -s 1048577 long.toml");
    std::string answers;
    for (const std::string line :
         {"", "fly", "fault", "faults nothing-like-it", "faults key-dea --jsn", "run --bord aes x",
          "run --", "run --board", "run -- .", "run --record record -- absent", "run --wave x",
          "run --record record -- ./plain.txt", "run --record record -- ./script.sh", "diagnose",
          "diagnose a=OK", "diff --tolerance 1m a b", "diagnose fan=OK",
          "diagnose plain.txt usb=OK"})
        answers += line + "\n  " + expect_refused(launch(line));
    const char* const options[] = {"--board=aex",
                                   "--operator=bob",
                                   "--seed=18446744073709551616",
                                   "--pace=0.0",
                                   "--pace=nan",
                                   "--limit=1s",
                                   "--limit=-1",
                                   "--limit=1000000001",
                                   "--limit 0",
                                   "--fault=gremlin",
                                   "--fault=kye-dead",
                                   "--fault=panel",
                                   "--fault=serial-absnt",
                                   "--fault=serial",
                                   "--fault=9@soon",
                                   "--fault key-held=Z",
                                   "--board none --fault key-held=7",
                                   "--real disk",
                                   "--real serial=/dev/null",
                                   "--real network=lo",
                                   "--real network=lo,absent",
                                   "--real sound=hw:absent",
                                   "--real speaker=/dev/null",
                                   "--real network=lo,lo --pace 2",
                                   "--quiet=1",
                                   "--expect=good",
                                   "--expect=",
                                   "--scenario=no.toml",
                                   "--scenario=.",
                                   "--scenario i2c.toml --board aes",
                                   "--scenario pipe",
                                   "--scenario long.toml",
                                   "--scenario /dev/zero",
                                   "--scenario - </dev/zero",
                                   "--record=",
                                   "--record plain.txt/record",
                                   "--record .",
                                   "--vcd=",
                                   "--vcd no/wires.vcd",
                                   "--vcd pipe",
                                   "--stop-at soon",
                                   "--stop-at -1",
                                   "--stop-at console:",
                                   "--stop-at screen",
                                   "--gdb",
                                   "--gdb=1"};
    for (const std::string option : options)
        answers += option + "\n  " +
                   expect_refused(launch("run --record record " + option + " -- " K4_PROGRAM));
    expect_as_written_down("k4sim-refusals", answers);
}

// The shipped program with a few bytes changed.
TEST_F(Launcher, RefusesAProgramThatItCantLoadTheDeviceInto) {
    std::string whole(4096, '\0');
    std::ifstream(K4_PROGRAM, std::ios::binary).read(whole.data(), 4096);
    const std::string other_class(1, sizeof(void*) == 4 ? ELFCLASS64 : ELFCLASS32);
    const std::size_t loader = whole.find("/lib");
    const struct {
        std::size_t at;
        std::string bytes;
        const char* must_say;
        std::size_t size = 4096;
    } changes[] = {
        {EI_MAG3, "V", "no i386 or x86-64"},
        {EI_CLASS, other_class, "no i386 or x86-64"},
        {offsetof(ElfW(Ehdr), e_type), {ET_REL, 0}, "no i386 or x86-64"},
        {offsetof(ElfW(Ehdr), e_machine), {EM_ARM, 0}, "no i386 or x86-64"},
        {offsetof(ElfW(Ehdr), e_phentsize), {8, 0}, "statically linked"},
        // Where its loader is named; the first segment is the table itself.
        {sizeof(ElfW(Ehdr)) + sizeof(ElfW(Phdr)), {PT_NULL}, "statically linked"},
        {loader, "/bad", "needs the loader /bad"},
        {0, "", "no i386 or x86-64", 51},
        {0, "", "statically linked", loader + 5},
    };
    for (const auto& [at, bytes, must_say, size] : changes) {
        write("changed", std::string(whole).replace(at, bytes.size(), bytes).substr(0, size), 0755);
        EXPECT_THAT(expect_refused(launch("run --record record -- ./changed")),
                    testing::HasSubstr(must_say));
    }
}

TEST_F(Launcher, FindsAPlainNameInTheSearchPathThenBesideItself) {
    write("folder/tool/x", "");
    write("plain/tool", "");
    write("later/tool", "", 0755);
    for (const char* name : {"bin/tool", "build/beside"}) {
        fs::create_directories(fs::path(folder_.file(name)).parent_path());
        fs::copy("/bin/sh", folder_.file(name));
    }
    const std::string path = "PATH=folder:plain:bin:later:$PATH ";
    EXPECT_EQ(shell(path + K4_SIM " run tool -c 'echo found'").out, "found\n");
    // As for a launcher that was copied elsewhere: without its libraries, then with them.
    fs::copy(K4_SIM, folder_.file("build/k4sim"));
    EXPECT_THAT(expect_refused(shell(path + "build/k4sim run beside -c :")),
                testing::HasSubstr("no libk4sim"));
    for (const auto& entry : fs::directory_iterator(fs::path(K4_SIM).parent_path()))
        if (entry.path().filename().string().starts_with("libk4sim"))
            fs::create_symlink(entry, folder_.path() / "build" / entry.path().filename());
    EXPECT_EQ(shell("build/k4sim run beside -c 'echo found'").out, "found\n");
}

TEST_F(Launcher, PassesAnyProgramsConsoleAndStatusThrough) {
    const CommandResult result = run_script("echo out; echo err >&2; exit 7");
    EXPECT_EQ(result.status, 7);
    EXPECT_EQ(result.out, "out\n");
    EXPECT_THAT(result.error, testing::MatchesRegex(
                                  "err\nk4sim: DIED: /bin/sh ended with status 7 and no closing "
                                  "line that tells it, after 0\\.0 virtual seconds "
                                  "\\([0-9.]+ s\\); record in record\n"));
    EXPECT_EQ(recorded("console.txt"), "out\nerr\n");
    const std::string preloads = "run --quiet sh -c 'LD_PRELOAD=one:two exec env 2>/dev/null'";
    EXPECT_THAT(launch(preloads).out, testing::HasSubstr("\nLD_PRELOAD=one:two\n"));
}

TEST_F(Launcher, SaysWhatHappenedAndWhetherThatWasExpected) {
    write("s.toml", "[[step]]\nat = 0.1\ndo = 'press 5'\n"
                    "[[step]]\nwhen = 'console:never'\ndo = 'turn 1 -3'\n");
    const struct {
        std::string options;
        std::string line; // a regular expression
        int status;
        std::string program = K4_PROGRAM " run";
    } cases[] = {
        {"--expect ABORTED,passed", "PASSED: 6 of 6 rows OK", 0},
        {"--expect=passed --fault analog-gain=2.4",
         "ABORTED: AnalogAudio stayed at \"Loop gain 2\\.4 2\\.4 \\(2\\)\": both inputs 0\\.4 dB "
         "above the limit",
         3},
        {"--expect Not_Started --fault thread-create=3",
         "NOT STARTED: the USB test could not be started", 0},
        {"--expect aborted --fault serial-byte-lost=300",
         "ABORTED: USB Ports stayed at \"In progress: [0-9]+\": [0-9]+ of 100 rounds came back", 0},
        {"--limit 5.5 --operator none",
         "UNDECIDED: the run reached its limit of 5\\.5 virtual seconds: .*", 124},
        {"--expect not-run --scenario s.toml --fault key-dead=5 --fault key-dead=6@0.75 "
         "--fault thread-create=1 --fault serial-byte-flipped=2",
         "NOT RUN: no start key was held and the keyword run was missing, after .*; never struck: "
         "fault key-dead=6@0.75, fault thread-create=1, fault serial-byte-flipped=2, "
         "step 2 \\(turn 1 -3\\)",
         3, K4_PROGRAM},
        {"", "NOT RUN: status 0 without a closing line of the self-test", 0, "/bin/true"},
    };
    for (const auto& [options, line, status, program] : cases) {
        const CommandResult result = launch("run --record record " + options + " -- " + program);
        EXPECT_EQ(result.status, status) << options;
        const std::string end = status == 3 ? "; not as expected\n" : "\n";
        EXPECT_THAT(result.error,
                    testing::MatchesRegex("k4sim: " + line + "[ ,;].*record in record" + end));
        EXPECT_EQ(report().at("never_struck").empty(), line.find("never") == std::string::npos);
    }
    EXPECT_EQ(launch("run --quiet /bin/true").error, "");
}

// A file as long as the limit allows is what a full disk leaves.
TEST_F(Launcher, AFullDiskCutsTheRecordAndNothingElse) {
    for (const auto& [blocks, expect, status] :
         {std::tuple{"1", "", "0"}, {"16", "--expect passed", "3"}, {"32", "", "0"}}) {
        const std::string out =
            shell(std::string("{ trap '' XFSZ; ulimit -f ") + blocks +
                  "; " K4_SIM " run --record record " + expect +
                  " -- " K4_PROGRAM " run >/dev/null; echo status $?; } 2>&1 | cat")
                .out;
        EXPECT_THAT(out,
                    testing::MatchesRegex("k4sim: PASSED: 6 of 6 rows OK .*; the record is cut: "
                                          "File too large.*\nstatus " +
                                          std::string(status) + "\n"));
        EXPECT_THAT(recorded("report.json"), testing::Not(testing::HasSubstr("PASSED")));
        EXPECT_NE(recorded("k4sim-record"), "complete\n");
        for (const auto& entry : fs::directory_iterator(folder_.file("record")))
            EXPECT_TRUE(entry.path().filename() == "k4sim-record" || fs::file_size(entry) > 0)
                << entry << blocks;
    }
}

TEST_F(Launcher, AKilledLauncherLeavesARecordThatSaysSo) {
    run_script("kill -KILL $PPID");
    EXPECT_EQ(recorded("k4sim-record"), "incomplete\n");
    EXPECT_EQ(recorded("report.json"), "");
}

// By a checker of another make; it must also refuse what is none.
TEST_F(Launcher, ARecordIsAsItsSchemaSays) {
    std::vector<std::string> check{"/usr/bin/python3", "-m",     "jsonschema",
                                   "--output",         "pretty", K4_RECORD_SCHEMA};
    const auto add = [&](const std::string& name, const nlohmann::json& record) {
        write(name, record.dump());
        check.insert(check.end(), {"-i", folder_.file(name)});
    };
    write("s.toml", "[[expect]]\nconsole = 'no'\nwithin = 1\n");
    nlohmann::json record;
    int number = 0;
    for (const std::string run :
         {K4_PROGRAM " run",
          "--board plain --fault serial-byte-lost=9 --fault link-flapping=eth0 "
          "--fault parallel-open=3 --fault signal=INT@20 " K4_PROGRAM " run",
          "--board i2c --fault key-dead=5@9 --limit 8 " K4_PROGRAM " run",
          "--scenario s.toml " K4_PROGRAM " run", "--board none /bin/sh -c 'kill -SEGV $$'"}) {
        launch("run --quiet --record record " + run);
        record = {{"report", report()}, {"events", nlohmann::json::array()}};
        std::istringstream lines(recorded("events.jsonl"));
        for (std::string line; std::getline(lines, line);)
            record["events"].push_back(nlohmann::json::parse(line));
        EXPECT_TRUE(std::ranges::is_sorted(record["events"], {}, [](const nlohmann::json& event) {
            return event.at("t").get<std::int64_t>();
        })) << run;
        add("run" + std::to_string(++number), record);
    }
    const std::pair<const char*, const char*> wrongs[] = {{"/report/verdict", "GOOD"},
                                                          {"/report/units", "none"},
                                                          {"/events/0/source", "weather"},
                                                          {"/events/0/t", "0"}};
    for (const auto& [place, value] : wrongs) {
        nlohmann::json wrong = record;
        wrong[nlohmann::json::json_pointer(place)] = value;
        add("wrong" + std::to_string(++number), wrong);
    }
    const CommandResult result = run_command(check);
    for (int i = 1; i <= number; ++i)
        EXPECT_EQ(result.error.find("run" + std::to_string(i) + ")") == std::string::npos &&
                      result.error.find("wrong" + std::to_string(i) + ")") != std::string::npos,
                  i > number - static_cast<int>(std::size(wrongs)))
            << i << result.error;
}

// By what the program makes of each: its code, and its letter that the row no longer asks for.
TEST_F(Launcher, ListsTheKeysAsTheProgramKnowsThem) {
    std::istringstream list(launch("keys").out);
    std::string line;
    std::getline(list, line);
    std::string codes, steps = "[[step]]\nat = 2\ndo = 'press 7'\n"; // taken for the start key
    for (int second = 3; std::getline(list, line); ++second) {
        steps += "[[step]]\nat = " + std::to_string(second) + "\ndo = '" +
                 line.substr(14, line.find("  ", 14) - 14) + "'\n";
        codes += "Key " + line.substr(0, line.find(' ')) + "\n";
    }
    write("s.toml", steps);
    const std::string console =
        launch("run --operator none --limit 26 --scenario s.toml " K4_PROGRAM " run").out;
    std::string keys;
    std::istringstream lines(console);
    while (std::getline(lines, line))
        if (line.starts_with("Key ")) keys += line + "\n";
    EXPECT_EQ(keys, codes);
    EXPECT_EQ(std::count(codes.begin(), codes.end(), '\n'), 22);
}

TEST_F(Launcher, ListsTheFaultsThatAPatternMatches) {
    const auto named = [&](const std::string& arguments) {
        std::string names;
        for (const auto& fault : nlohmann::json::parse(launch("faults --json " + arguments).out))
            names += fault.at("example").get<std::string>() + " ";
        return names;
    };
    EXPECT_EQ(named("key-"), "key-dead=5 key-held=7 key-word-invalid=100 ");
    EXPECT_EQ(named("'*-absent'"), "aes-receiver-absent aes-transmitter-absent card-absent "
                                   "link-absent=eth0 serial-absent=1 speaker-absent ");
    const auto gain = nlohmann::json::parse(launch("faults analog-gain --json").out).at(0);
    EXPECT_EQ(gain.at("low"), -100);
    EXPECT_EQ(gain.at("boards").size(), 5);
    const auto wires = [&](const std::string& boards) {
        return nlohmann::json::parse(launch("faults --json --all parallel.wire " + boards).out);
    };
    EXPECT_EQ(wires("").size(), 4 * (8 + 28 * 2));
    EXPECT_EQ(
        wires("--board engine").at(0).dump(),
        R"({"board":"engine","expected":"escaped","fault":"parallel.wire0=open","unit":)"
        R"("ParallelPrt","why":"the test looks for the port at 0xD000 only, where this board )"
        R"(has none"})");
}

// With examples that are good command lines, if of a longer run.
TEST_F(Launcher, HelpIsOfTheCommandThatItIsAskedOf) {
    fs::create_directory_symlink(K4_SCENARIOS, folder_.file("scenarios"));
    for (const std::string command : {"run", "check", "faults", "keys", "help"}) {
        const std::string help = launch("help " + command).out;
        EXPECT_TRUE(help.starts_with("k4sim " + command)) << help;
        EXPECT_EQ(help.find("--seed N") != std::string::npos, command == "run");
        for (const std::string arguments : {" --help", " -h"}) {
            const CommandResult result = launch(command + arguments);
            EXPECT_EQ(result.out + result.error + std::to_string(result.status), help + "0");
        }
        EXPECT_THAT(launch("-h").out, testing::HasSubstr("  k4sim " + command));
        std::istringstream lines(help);
        int examples = 0;
        for (std::string line; std::getline(lines, line);) {
            if (!line.starts_with("  k4sim ")) continue;
            ++examples;
            line.replace(0, 8, "");
            EXPECT_NE(launch(command == "run" ? line.insert(3, " --limit 0.1") : line).status, 2)
                << line;
        }
        EXPECT_GT(examples, 0) << help;
    }
    EXPECT_EQ(launch("run --board aes --help x").out, launch("run --help").out);
    EXPECT_EQ(launch("run /bin/sh -c 'echo $1' x --help").out, "--help\n");
}

// In a real shell, which finds what was installed when Tab is pressed.
TEST_F(Launcher, BashCompletesItsCommandLines) {
    write("cases/pulled out.toml", "");
    write("cases/notes.txt", "");
    const std::pair<std::string, std::string> lines[] = {
        {"ru", "<run>"},
        {"run --bo", "<run><--board>"},
        {"run --board en", "<run><--board><engine>"},
        {"run --board=en", "<run><--board=engine>"},
        {"run --fault key-d", "<run><--fault><key-dead=>"},
        {"run --fault=analog-cable=cr", "<run><--fault=analog-cable=crossed>"},
        {"run --fault parallel-flaky=3:", "<run><--fault><parallel-flaky=3:5>"},
        {"run --fault serial2.speed=-5", "<run><--fault><serial2.speed=-50%>"},
        {"run --expect passed,unde", "<run><--expect><passed,undecided>"},
        {"run --scenario=cases/", "<run><--scenario=cases/pulled out.toml>"},
        {"run --record cas", "<run><--record><cases/>"},
        {"run --quiet -- k4selft", "<run><--quiet><--><k4selftest>"},
        {"run -- /bin/sh cases/n", "<run><--></bin/sh><cases/notes.txt>"},
        {"faults --js", "<faults><--json>"},
        {"diagnose Eth", "<diagnose><Ethernet=>"},
        {"faults aes-loc", "<faults><aes-lock-lost>"},
        {"check cases/pu", "<check><cases/pulled out.toml>"},
        {"help fau", "<help><faults>"},
    };
    std::string typed = ". /usr/share/bash-completion/bash_completion\n";
    for (const auto& [line, becomes] : lines) // from its begin on: to be printed, not done
        typed += "k4sim " + line + "\t\x01printf '<%s>' \n";
    write("typed", typed);
    const std::string bin = fs::path(K4_SIM).parent_path();
    const CommandResult result =
        shell("cmake --install " + bin +
              " --component completion --prefix $PWD/home >install.txt && "
              "PATH=" +
              bin +
              ":$PATH BASH_COMPLETION_USER_DIR=$PWD/home/share/bash-completion "
              "bash --norc -i <typed");
    for (const auto& [line, becomes] : lines)
        EXPECT_THAT(result.out, testing::HasSubstr("<k4sim>" + becomes)) << line << result.error;
    // Nothing is forgotten.
    const std::string faults = launch("complete run --fault ''").out;
    EXPECT_EQ(std::ranges::count(faults, '\n'),
              nlohmann::json::parse(launch("faults --json").out).size());
}

// As a terminal of another make draws it: below what is written, which stays as it is.
TEST_F(Launcher, ShowsOnATerminalHowFarALongRunIs) {
    const std::string run = " run --limit 30 -- " K4_PROGRAM " run";
    const CommandResult quick = launch(run);
    const auto letters = [](std::string text) {
        std::erase_if(text, [](unsigned char c) { return std::isspace(c) != 0; });
        return std::regex_replace(text, std::regex("\\([0-9.]+s\\)"), ""); // real seconds
    };
    const auto on_terminal = [&](const std::string& columns, const std::string& options) {
        return nlohmann::json::parse(shell("TERM=xterm /usr/bin/python3 " K4_TERMINAL " " +
                                           columns + " " K4_SIM +
                                           std::string(run).insert(4, " " + options))
                                         .out);
    };
    for (const auto& [columns, row] :
         {std::pair{"80", "[0-9.]+ s  Par .*  Eth .*  Fro .*"},
          {"200", "[0-9.]+ s  ParallelPrt .*  Ethernet .*  Frontpanel .*  USB Ports .*  "
                  "AnalogAudio .*  AES/EBU .*"}}) {
        const auto shown = on_terminal(columns, "--pace 20");
        const std::string text = shown.at("text"), raw = shown.at("raw");
        const std::vector<std::string> last_row = shown.at("last_row");
        EXPECT_EQ(letters(text), letters(quick.out + quick.error));
        EXPECT_THAT(last_row, testing::Contains(testing::MatchesRegex(row)));
        EXPECT_LE(static_cast<double>(last_row.size()), 10 * shown.at("seconds").get<double>() - 7);
    }
    for (const std::string options : {"--pace max", "--pace 20 --quiet"}) {
        const auto shown = on_terminal("80", options);
        EXPECT_TRUE(shown.at("raw").get<std::string>().find('\033') == std::string::npos ||
                    (options == "--pace max" && shown.at("seconds") > 1));
    }
}

TEST_F(Launcher, TellsOfAnEndThatIsNotThePrograms) {
    // What the device would report.
    write("deadlock", R"({"t":7,"source":"program","event":"deadlock"})"
                      "\n");
    const std::pair<const char*, const char*> cases[] = {
        {"kill -SEGV $$", "died by signal 11"},
        {"kill -FPE $$", "died by signal 8"}, // sent, so no instruction brings it again
        {"cat deadlock >/proc/$$/fd/100; exit 9", "can never go on"},
    };
    for (const auto& [script, must_say] : cases) {
        const CommandResult result = run_script(script);
        EXPECT_EQ(result.status, 125);
        EXPECT_NE((result.error + "\n").find(must_say), std::string::npos) << result.error;
        EXPECT_EQ(report().value("verdict", ""), "DIED");
    }
}

// The reader's input is a pipe that nobody writes to.
TEST_F(Launcher, EndsAProgramThatGoesOnForGood) {
    const struct {
        const char* way;
        const char* must_say;
        std::string bound = "--stall 0.1";
        int status = 125;
    } cases[] = {{"spinner", "thread 1 (spinner) stands at spin_for_good+0x"},
                 {"reader", "thread 1 (reader) stands at "},
                 {"deaf", "thread (deaf) answers to no signal"},
                 {"clock", "reached its limit of 0.5 virtual", "--limit 0.5", 124},
                 {"mutex", "reached its limit of 0.5 virtual", "--limit 0.5", 124},
                 {"poll", "reached its limit of 0.5 virtual", "--limit 0.5", 124},
                 {"sleep", "reached its limit of 0.5 virtual", "--limit 0.5", 124},
                 {"flush", "reached its limit of 0.5 virtual", "--limit 0.5", 124}};
    for (const std::string& bits : word_sizes)
        for (const auto& [way, must_say, bound, status] : cases) {
            const CommandResult result = shell(
                "[ -p pipe ] || mkfifo pipe; exec 3<>pipe; exec " K4_SIM " run --record record " +
                bound + " -- " + (K4_THREAD_PROBE + bits) + " " + way + " <&3");
            EXPECT_EQ(result.status, status) << bits << way;
            EXPECT_NE(result.error.find(must_say), std::string::npos) << bits << result.error;
            EXPECT_EQ(report().value("verdict", ""), status == 125 ? "DIED" : "UNDECIDED");
        }
}

// Real time passes, but the run stands by its own pace.
TEST_F(Launcher, NeitherASlowPaceNorALongRunIsAStandstill) {
    for (const auto& [line, status] :
         {std::pair{"run --pace 2 --stall 0.1 /bin/sleep 0.8", 0},
          {"run --stall 0.5 --limit 4000 --operator none " K4_PROGRAM " run noanalog", 124}}) {
        const CommandResult result = launch(line);
        EXPECT_EQ(result.status, status) << result.error;
    }
}

// What the kernel and libc answer is what a program must get on the virtual device, too.
TEST_F(Launcher, AnswersOddCallsAsTheSystemDoes) {
    for (const std::string& bits : word_sizes) {
        const std::string probe = K4_CALL_PROBE + bits;
        const CommandResult system = shell(probe);
        EXPECT_GT(std::ranges::count(system.out, '\n'), 300) << system.error;
        EXPECT_EQ(launch("run " + probe).out, system.out) << bits;
    }
}

TEST_F(Launcher, TellsWhereAProgramDiesByWhicheverSignal) {
    const struct {
        const char* way;
        const char* must_say;
    } cases[] = {
        {"stack", "signal 11 .* in thread 0 at thread_probe.*\\(use_up_stack\\)"},
        {"stack-of-thread", "signal 11 .* in thread 1 at thread_probe.*\\(use_up_stack\\)"},
        {"after-port", "signal 11 .* in thread 0 at thread_probe.*\\(fail_after_port\\)"},
        {"kill", "signal 15 .Terminated. in thread 0 at "},
        {"abort", "signal 6 .Aborted. in thread 0 at "},
        {"alarm", "signal 14 .Alarm clock. in thread 0 at "},
        {"default-again", "signal 2 .Interrupt. in thread 0 at "},
        {"from-outside", "signal 15 .Terminated. in thread 0 at "}};
    for (const std::string& bits : word_sizes)
        for (const auto& [way, must_say] : cases) {
            const CommandResult result =
                launch("run --record record " + (K4_THREAD_PROBE + bits) + " " + way);
            EXPECT_EQ(result.status, 125) << way;
            EXPECT_THAT(result.error, testing::ContainsRegex(must_say)) << bits;
            EXPECT_TRUE(fs::exists(folder_.file("record/oled-final.png"))) << way;
        }
}

#ifndef __SANITIZE_THREAD__ // which holds a signal back while the launcher reads

// What is ignored stays so.
class LauncherSignals : public Launcher {
protected:
    LauncherSignals() {
        for (const int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP})
            former_.emplace_back(number, std::signal(number, SIG_DFL));
    }
    ~LauncherSignals() override {
        for (const auto& [number, action] : former_)
            std::signal(number, action);
    }

    // In a session of the launcher's own. The limit of processor time ends a script that waits
    // in vain.
    CommandResult run_alone(const std::string& script, const std::string& setsid = "setsid") const {
        return shell("exec " + setsid +
                     " " K4_SIM " run --record record -- /bin/sh -c 'ulimit -S -t 20; "
                     "group() { cut -d\" \" -f5 /proc/$1/stat; }; " +
                     script + "'");
    }

private:
    std::vector<std::pair<int, void (*)(int)>> former_;
};

TEST_F(LauncherSignals, ReachTheProgramOnce) {
    for (const std::string name : {"INT", "QUIT", "TERM", "HUP"})
        for (const std::string target : {"$PPID", "-$(group $PPID)"}) {
            SCOPED_TRACE(name + " to " + target);
            // Those of its own group only would reach it twice.
            const CommandResult result =
                run_alone("[ $(group $PPID) != $(group $$) ] && echo apart;"
                          "trap \"echo " +
                          name + "; exit 3\" " + name + "; kill -" + name + " " + target +
                          "; while :; do :; done");
            EXPECT_EQ(result.status, 3) << result.error;
            EXPECT_EQ(recorded("console.txt"), "apart\n" + name + "\n");
        }
}

// The program is of the launcher's group there. Whoever has read so much of its console that no
// pipe can hold it has also handled the signal.
TEST_F(LauncherSignals, ReachTheProgramOnceAtATerminal) {
    const PseudoTerminal terminal;
    ASSERT_LT(terminal.far_end(), 10) << "a shell names a descriptor by a digit";
    const std::string typing = ">&" + std::to_string(terminal.far_end());
    const std::tuple<const char*, const char*, std::string> cases[] = {
        {"INT", "its key", "printf \"\\003\" " + typing},
        {"QUIT", "its key", "printf \"\\034\" " + typing},
        {"TERM", "kill", "kill -TERM $PPID"},
        {"TERM", "kill of all", "kill -TERM -$(group $PPID)"},
        {"INT", "kill of all", "kill -INT -$(group $PPID)"}};
    for (const auto& [name, by, send] : cases) {
        SCOPED_TRACE(std::string(name) + " by " + by);
        const CommandResult result = run_alone(
            "[ $(group $PPID) = $(group $$) ] && echo together;"
            "got=; trap \"echo " +
                std::string(name) + "; got=1\" " + name + "; " + send +
                "; while [ -z \"$got\" ]; do :; done; i=0;"
                "while [ $i -lt 4000 ]; do i=$((i+1)); printf \"%80s\\n\" .; done; exit 3",
            "setsid -c <" + terminal.path());
        EXPECT_EQ(result.status, 3) << result.error;
        std::string console = recorded("console.txt");
        std::erase_if(console, [](char c) { return c != '\n' && (c <= ' ' || c == '.'); });
        console.erase(std::unique(console.begin(), console.end(),
                                  [](char a, char b) { return a == '\n' && b == '\n'; }),
                      console.end());
        EXPECT_EQ(console, std::string("together\n") + name + "\n");
    }
}

TEST_F(LauncherSignals, TheSecondEndsBoth) {
    const CommandResult result =
        run_alone("trap \"\" TERM INT; kill -TERM $PPID; kill -INT $PPID; while :; do :; done");
    EXPECT_EQ(result.status, 125);
    EXPECT_NE(result.error.find("died by signal 9"), std::string::npos) << result.error;
    EXPECT_EQ(report().value("verdict", ""), "DIED");
}

// Whoever has a new parent has outlived the former one.
TEST_F(LauncherSignals, NoProcessOfTheRunOutlivesTheLauncher) {
    const std::string script = "kill -KILL $launcher; parent=$PPID; while [ $parent = $PPID ];"
                               "do read -r _ _ _ parent _ </proc/$$/stat; done; echo outlived";
    write("script", script);
    for (const std::string by : {"", "timeout 60 "})
        EXPECT_EQ(shell(K4_SIM " run -- /bin/sh -c 'export launcher=$PPID; exec " + by +
                        "sh ./script' | cat")
                      .out,
                  "")
            << by;
}

#endif

} // namespace
