// The machine of the process, its console and its report.
#include "sim/machine/machine.h"

#include "sim/models/device.h"
#include "sim/time/scheduler.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

using namespace k4sim;

namespace {

TEST(Machine, WhatTheFormerDevicePlannedDoesNotHappen) {
    int happened = 0;
    machine().at(machine().now() + 100, [&] { happened += 1; });
    machine().reset();
    machine().at(machine().now() + 100, [&] { happened += 10; });
    usleep(200);
    EXPECT_EQ(happened, 10);
}

TEST(Machine, APortThatReadsTheSameForLongIsReadOnceAMillisecond) {
    machine().reset();
    const auto time_of_reads = [](int reads) {
        const Microseconds start = machine().now();
        for (int i = 0; i < reads; ++i)
            machine().port_in(0x81);
        return machine().now() - start;
    };
    EXPECT_EQ(time_of_reads(20'000), 20'000);
    EXPECT_EQ(time_of_reads(3), 3000);
    machine().port_out(0x80, 0); // another access begins anew
    EXPECT_EQ(time_of_reads(3), 3);
}

// A process that is recorded as under the launcher: the report comes out of standard error.
void print_recorded(const char* console, const char* text, const std::function<void()>& end) {
    dup2(open(console, O_WRONLY), STDOUT_FILENO);
    k4sim::Setup setup;
    setup.report_fd = STDERR_FILENO;
    machine().record(setup, {});
    capture_console(
        [](int stream, std::string_view said) { machine().console_text(stream, said); });
    setvbuf(stdout, nullptr, _IOLBF, 0); // as the program does
    std::printf("%s", text);
    end();
}

TEST(RecordedProcessDeathTest, LeavesItsConsoleAndThePictureHoweverItEnds) {
    int nobody = 0;
    const std::string record = "\"stream\":1,\"text\":\"\\\\u00e4 line\\\\u000a\"}\n"
                               ".*\"source\":\"console\".*\"text\":\"no line end\"}\n"
                               ".*\"event\":\"final-picture\",\"pixels\":\"0{16384}\"\\}\n";
    const std::tuple<std::function<void()>, int, const char*> cases[] = {
        {[] { std::exit(3); }, 3, ".*\"end\"\\}\n$"},
        {[&] { scheduler().wait(&nobody, never); }, 125, ".*\"deadlock\"\\}\n$"},
    };
    for (const auto& [end, status, last_line] : cases)
        EXPECT_EXIT(print_recorded("/dev/null", "\xE4 line\nno line end", end),
                    testing::ExitedWithCode(status), testing::ContainsRegex(record + last_line));
}

TEST(RecordedProcessDeathTest, RecordsTextThatNobodyTook) {
    const auto write_more = [] {
        if (errno == ENOSPC && write(STDOUT_FILENO, "more", 4) == -1 && errno == ENOSPC)
            std::exit(0);
    };
    EXPECT_EXIT(print_recorded("/dev/full", "lost\n", write_more), testing::ExitedWithCode(0),
                testing::ContainsRegex("\"lost.*\n.*\"more\"\\}\n"));
}

// The heap may be what it dies of: nothing is taken from it on the way.
TEST(RecordedProcessDeathTest, TellsWhereItDiesAndLeavesItsLastPictures) {
    const auto die = [] {
        machine().device().oled()->command(0xA5);
        machine().device().oled()->command(0xAF);
        machine().console_text(1, "lit");
        machine().device().oled()->command(0xAE);
        asm volatile("int3");
    };
    EXPECT_EXIT(
        print_recorded("/dev/null", "", die), testing::KilledBySignal(SIGTRAP),
        testing::ContainsRegex(
            "\"event\":\"died\",\"signal\":5,\"thread\":0,\"address\":\"0x[0-9a-f]+\","
            "\"accessed\":\"0x0\",\"file\":\"/[^\"]*/sim_tests\",\"offset\":\"0x[0-9a-f]+\"\\}"
            "\n[^\n]*\"picture\",\"pixels\":\"f{16384}\"\\}"
            "\n[^\n]*\"final-picture\",\"pixels\":\"0{16384}\"\\}\n$"));
}

TEST(LineAssembler, PutsPiecesTogetherAtEitherLineEnd) {
    LineAssembler assembler;
    std::vector<std::string> lines;
    const auto keep = [&](std::string_view line) { lines.emplace_back(line); };
    for (const char* piece : {"on", "e\ntw", "o\r\n\n", "three\rfo", "ur"})
        assembler.add(piece, keep);
    EXPECT_THAT(lines, testing::ElementsAre("one", "two", "three"));
}

} // namespace
