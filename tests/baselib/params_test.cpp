#include "baselib/params.h"

#include "baselib/text/astr.h"

#include <gtest/gtest.h>

#include <climits>
#include <utility>
#include <vector>

namespace {

using Arguments = std::vector<const char*>;

// The program's name and what stands behind it.
struct CommandLine {
    explicit CommandLine(Arguments arguments) : argv(std::move(arguments)) {
        argv.insert(argv.begin(), "program");
    }
    Arguments argv;
};

class Params : private CommandLine, public KLTparams {
public:
    explicit Params(const Arguments& arguments, bool caseSensitive = false)
        : CommandLine(arguments),
          KLTparams(static_cast<int>(argv.size()), argv.data(), caseSensitive) {}
};

struct Switches {
    bool boost, check, keypad, analog;
    bool operator==(const Switches&) const = default;
};

} // namespace

TEST(Params, ReadsTheSwitchesOfTheProgram) {
    const struct {
        Arguments arguments;
        bool caseSensitive;
        Switches expected;
    } rows[] = {
        {{}, false, {true, true, true, true}},
        {{"nomicboost"}, false, {false, true, true, true}},
        {{"noanalog", "nokeypad"}, false, {true, true, false, false}},
        {{"NOKEYPAD", "Run"}, false, {true, false, false, true}},
        {{"NOKEYPAD", "run"}, true, {true, false, true, true}},
        {{"nokeypads"}, false, {true, true, false, true}},
        {{"nokeypa", "xnokeypad", "", "-run"}, false, {true, true, true, true}},
    };
    for (const auto& row : rows) {
        Switches read{};
        Params params(row.arguments, row.caseSensitive);
        EXPECT_EQ(params("nomicboost%P run%P  nokeypad%P\t\x01noanalog%P", &read.boost, &read.check,
                         &read.keypad, &read.analog),
                  0);
        EXPECT_EQ(read, row.expected);
    }
}

TEST(Params, AnswersEachFaultOfTheCall) {
    const char* argv[] = {"program", "run", nullptr};
    EXPECT_EQ(KLTparams(-1, argv, true).parse("x%p"), -8849);
    EXPECT_EQ(KLTparams(2, argv, true).parse(nullptr), -8849);
    EXPECT_EQ(KLTparams(2, nullptr, true).parse(""), -8849);
    EXPECT_EQ(KLTparams(0, argv, true).parse(""), 0);
    EXPECT_EQ(KLTparams(2, argv, true).parse(""), 0);
    EXPECT_EQ(KLTparams(3, argv, true).parse(""), -8848);
    EXPECT_EQ(KLTparams(2, argv, true).used(2), 0);
    EXPECT_EQ(KLTparams(-1, argv, true).used(-1), 0);
}

TEST(Params, AnswersEachFaultOfTheFormat) {
    const struct {
        const char* format;
        int status;
    } rows[] = {
        {"", 0},          {" ", -8847},     {" a%p", -8847}, {"\x01", -8847},   {"a", -8847},
        {"a b%p", -8847}, {"a%p b", -8847}, {"a%p ", 0},     {"a%p\t \n", 0},   {"%p", -8846},
        {"a%p%p", -8846}, {"a%%%p", -8845}, {"a%", -8845},   {"a%%", -8845},    {"a%x", -8845},
        {"a% p", -8845},  {"a%pb%p", 0},    {"\xE4%p", 0},   {"\x80\xFF%p", 0}, {"\x7F\"'%p", 0},
    };
    for (const auto& row : rows) {
        bool first = false;
        bool second = false;
        EXPECT_EQ(Params({"other"}).parse(row.format, &first, &second), row.status) << row.format;
    }
}

TEST(Params, ReadsNumbers) {
    const struct {
        const char* text;
        bool isNumber;
        long expected;
        long long expectedLong;
    } rows[] = {
        {"-12", true, -12, -12},
        {"0x1F", true, 31, 31},
        {"010", true, 8, 8},
        {"99999999999999999999", true, LONG_MAX, LLONG_MAX},
        {"-99999999999999999999", true, LONG_MIN, LLONG_MIN},
        {"", false, 7, 7},
        {"12x", false, 7, 7},
        {"08", false, 7, 7},
        {"0x", false, 7, 7},
    };
    for (const auto& row : rows) {
        long number = 7;
        long long longNumber = 7;
        bool matched = !row.isNumber;
        bool longMatched = !row.isNumber;
        Params params({"size", row.text, "wide", row.text});
        EXPECT_EQ(params.parse("size%%l wide%%L", &number, &matched, &longNumber, &longMatched), 0);
        EXPECT_EQ(number, row.expected) << row.text;
        EXPECT_EQ(longNumber, row.expectedLong) << row.text;
        EXPECT_EQ(matched, row.isNumber) << row.text;
        EXPECT_EQ(longMatched, row.isNumber) << row.text;
        EXPECT_EQ(params.used(1), 1);
        EXPECT_EQ(params.used(2), row.isNumber ? 2 : 0) << row.text;
    }
}

TEST(Params, TakesAValueBehindItsKeyword) {
    const struct {
        Arguments arguments;
        int status;
        const char* text;
        bool matched;
        int marks[3]; // of the program's name and the first two arguments
    } rows[] = {
        {{"name", "\"a b\""}, 0, "\"a b\"", true, {0, 1, 2}},
        {{"names", ""}, 0, "", true, {0, 1, 2}},
        {{"other", "x"}, 0, "before", false, {1, 0, 0}},
        {{"x", "name"}, -8844, "before", false, {0, 0, 1}},
        {{"name"}, -8844, "before", false, {0, 1, 0}},
        {{"name", "name"}, 0, "name", true, {0, 1, 2}},
    };
    for (const auto& row : rows) {
        KLTastr text("before");
        bool matched = false;
        Params params(row.arguments);
        EXPECT_EQ(params.parse("name%%s", &text, &matched), row.status);
        EXPECT_STREQ(text.text(), row.text);
        EXPECT_EQ(matched, row.matched);
        for (int index = 0; index < 3; ++index)
            EXPECT_EQ(params.used(index), row.marks[index]) << row.text << index;
    }
}

TEST(Params, TakesNoArgumentTwice) {
    KLTastr text("before");
    bool flag = false;
    Params params({"name", "flag"});
    EXPECT_EQ(params.parse("program%p", &flag), 0);
    EXPECT_FALSE(flag) << "the name of the program is no argument";
    EXPECT_EQ(params.parse("flag%p name%s", &flag, &text), -8842);
    EXPECT_TRUE(flag);
    EXPECT_STREQ(text.text(), "before");
    EXPECT_EQ(params.parse("flag%p", &flag), -8842) << "taken over all calls";
}
