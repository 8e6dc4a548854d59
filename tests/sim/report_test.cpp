#include "sim/machine/report.h"

#include "sim/machine/console.h"

#include <csignal>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

using namespace k4sim;

namespace {

TEST(Report, LineHasTimeSourceEventAndFieldsInOrder) {
    EXPECT_EQ(
        report_line(123, "speaker", "tone",
                    {{"hz", std::int64_t{500}}, {"on", true}, {"name", std::string_view("a")}}),
        R"({"t":123,"source":"speaker","event":"tone","hz":500,"on":true,"name":"a"})");
    EXPECT_EQ(report_line(-1, "a", "b", {}), R"({"t":-1,"source":"a","event":"b"})");
}

TEST(Report, EveryByteOfATextSurvivesAsLatin1) {
    std::string text;
    for (int byte = 0; byte < 256; ++byte)
        text += static_cast<char>(byte);
    const auto line = nlohmann::json::parse(
        report_line(0, "console", "text", {{"text", std::string_view(text)}}));
    std::string expected; // the same characters as UTF-8
    for (int byte = 0; byte < 256; ++byte) {
        if (byte >= 0x80) expected += static_cast<char>(0xC0 | byte >> 6);
        expected += static_cast<char>(byte >= 0x80 ? 0x80 | (byte & 0x3F) : byte);
    }
    EXPECT_EQ(line["text"].get<std::string>(), expected);
}

TEST(Report, AReaderThatHasGoneEndsIt) {
    const auto former = std::signal(SIGPIPE, SIG_IGN);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    Report report;
    report.open(ends[1]);
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

TEST(LineAssembler, PutsPiecesTogetherAtEitherLineEnd) {
    LineAssembler assembler;
    std::vector<std::string> lines;
    const auto keep = [&](std::string_view line) { lines.emplace_back(line); };
    for (const char* piece : {"on", "e\ntw", "o\r\n\n", "three\rfo", "ur"})
        assembler.add(piece, keep);
    EXPECT_THAT(lines, testing::ElementsAre("one", "two", "three"));
}

} // namespace
