// The machine of the process, its console and its report.
#include "sim/machine/machine.h"

#include "sim/host/run.h"
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
    machine().reset();
    int happened = 0;
    machine().at(machine().now() + 100, [&] { happened += 1; });
    machine().reset();
    machine().at(machine().now() + 100, [&] { happened += 10; });
    usleep(200);
    EXPECT_EQ(happened, 10);
}

TEST(Machine, APortThatReadsTheSameForLongIsReadOnceAMillisecond) {
    machine().reset();
    machine().port_out(0x80, 0); // another access begins anew
    Microseconds start = machine().now();
    const auto read_for = [&](int reads) {
        for (int i = 0; i < reads; ++i)
            machine().port_in(0x81);
        return machine().now() - std::exchange(start, machine().now());
    };
    for (const int round : {1, 2}) {
        EXPECT_EQ(read_for(20'000), 20'000) << round;
        EXPECT_EQ(read_for(3), 3000);
        machine().port_out(0x80, 0);
        start = machine().now();
    }
}

TEST(Report, AReaderThatHasGoneEndsIt) {
    const auto former = std::signal(SIGPIPE, SIG_IGN);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    Report report;
    report.open(ends[1]);
    EXPECT_EQ(fcntl(ends[1], F_GETFD), FD_CLOEXEC);
    report.write("first");
    char text[10] = {};
    EXPECT_EQ(read(ends[0], text, sizeof text), 6);
    EXPECT_STREQ(text, "first\n");
    close(ends[0]);
    errno = 12;
    report.write("second");
    EXPECT_EQ(errno, 12);
    EXPECT_FALSE(report.is_open());
    report.write("third");
    std::signal(SIGPIPE, former);
}

// The process is recorded as under the launcher: the report comes out of standard error.
void begin_record(const char* console) {
    dup2(open(console, O_WRONLY), STDOUT_FILENO);
    k4sim::Setup setup;
    setup.report_fd = STDERR_FILENO;
    machine().record(setup);
    capture_console(
        [](int stream, std::string_view text) { machine().console_text(stream, text); });
}

// The last lines of the record, without their times.
std::string ends_with(const char* console, const std::string& how) {
    return console +
           std::string("\\{\"t\":[0-9]*,\"source\":\"oled\",\"event\":\"final-picture\","
                       "\"pixels\":\"0{16384}\"\\}\n.*\"event\":\"") +
           how + "\"\\}\n$";
}

TEST(RecordedProcessDeathTest, LeavesItsConsoleAndThePictureHoweverItEnds) {
    int nobody = 0;
    const struct {
        std::function<void()> end;
        int status;
        const char* how;
    } cases[] = {
        {[] { std::exit(3); }, 3, "end"},
        {[] { end_process(status_limit, "limit"); }, 124, "limit"},
        {[&] { scheduler().wait(&nobody, never); }, 125, "deadlock"},
    };
    for (const auto& [end, status, how] : cases)
        EXPECT_EXIT(begin_record("/dev/null"); std::printf("\xE4 line\nno line end");
                    end(), testing::ExitedWithCode(status),
                    testing::ContainsRegex(ends_with(
                        "\"stream\":1,\"text\":\"\\\\u00e4 line\\\\u000a\"}\n"
                        ".*\"source\":\"console\".*\"stream\":1,\"text\":\"no line end\"}\n",
                        how)));
}

// Nobody has seen it.
TEST(RecordedProcessDeathTest, LeavesOutTextThatCouldNotBeWritten) {
    const auto write_in_vain = [] {
        begin_record("/dev/full");
        errno = 0;
        std::printf("lost\n");
        if (errno == ENOSPC && write(STDOUT_FILENO, "lost", 4) == -1 && errno == ENOSPC)
            std::exit(0);
    };
    EXPECT_EXIT(write_in_vain(), testing::ExitedWithCode(0),
                testing::Not(testing::HasSubstr("console")));
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
