#include "baselib/text/number.h"

#include "baselib/text/astr.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr long long untouched = 4711;

struct Parsed {
    int status;
    long long value;
};

Parsed parsed(const char* text, int base) {
    long long value = untouched;
    const int status = KLTastrc(text).num(value, base);
    return {status, value};
}

// Some digits of the base, sometimes more than any number has, with or without a sign.
std::string randomNumber(std::mt19937& random, int base) {
    std::string text = random() % 3 == 0 ? "-" : random() % 3 == 0 ? "+" : "";
    for (auto count = 1 + random() % 70; count > 0; --count) {
        const unsigned digit = random() % static_cast<unsigned>(base);
        text += (random() % 2 ? "0123456789abcdefghijklmnopqrstuvwxyz"
                              : "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ")[digit];
        if (random() % 12 == 0) break;
    }
    return text;
}

std::string printed(const char* format, int width, long long value) {
    char buffer[80];
    std::snprintf(buffer, sizeof buffer, format, width, value);
    return buffer;
}

} // namespace

TEST(Number, ParsesAsStrtollInEveryBase) {
    std::mt19937 random(7);
    int outOfRange = 0;
    for (int base = 2; base <= 36; ++base)
        for (int i = 0; i < 500; ++i) {
            const std::string text = randomNumber(random, base);
            errno = 0;
            const long long expected = std::strtoll(text.c_str(), nullptr, base);
            const bool fits = errno == 0;
            const auto [status, value] = parsed(text.c_str(), base);
            ASSERT_EQ(status, fits ? KLTnumberOk : KLTnumberRange) << text << " in " << base;
            ASSERT_EQ(value, fits ? expected : untouched) << text << " in " << base;
            outOfRange += !fits;
        }
    EXPECT_GT(outOfRange, 500);
}

TEST(Number, TakesPrefixesAndRefusesWhatIsNoNumber) {
    const struct {
        const char* text;
        int base;
        int status;
        long long value;
    } rows[] = {
        {"9223372036854775807", 10, KLTnumberOk, LLONG_MAX},
        {"9223372036854775808", 10, KLTnumberRange, untouched},
        {"-9223372036854775808", 10, KLTnumberOk, LLONG_MIN},
        {"-9223372036854775809", 10, KLTnumberRange, untouched},
        {"99999999999999999999x", 10, KLTnumberInvalid, untouched},
        {"-0", 10, KLTnumberOk, 0},
        {"", 10, KLTnumberEmpty, untouched},
        {"+", 0, KLTnumberEmpty, untouched},
        {"+-1", 10, KLTnumberInvalid, untouched},
        {" 1", 10, KLTnumberInvalid, untouched},
        {"1\xB2", 10, KLTnumberInvalid, untouched},
        {"12", 2, KLTnumberInvalid, untouched},
        {"#10", 10, KLTnumberInvalid, untouched},
        {"0x10", 16, KLTnumberInvalid, untouched},
        {"#10", 0, KLTnumberOk, 10},
        {"$fF", 0, KLTnumberOk, 255},
        {"%101", 0, KLTnumberOk, 5},
        {"%2", 0, KLTnumberInvalid, untouched},
        {"0x1F", 0, KLTnumberOk, 31},
        {"-0X1f", 0, KLTnumberOk, -31},
        {"0x", 0, KLTnumberInvalid, untouched},
        {"0xg", 0, KLTnumberInvalid, untouched},
        {"010", 0, KLTnumberOk, 10},
        {"$", 0, KLTnumberEmpty, untouched},
        {"1", 1, KLTnumberBase, untouched},
        {"1", 37, KLTnumberBase, untouched},
    };
    for (const auto& row : rows) {
        const auto [status, value] = parsed(row.text, row.base);
        EXPECT_EQ(status, row.status) << row.text << " in " << row.base;
        EXPECT_EQ(value, row.value) << row.text << " in " << row.base;
    }
}

TEST(Number, ParsesDoublesAsStrtod) {
    const struct {
        int status;
        std::vector<const char*> texts;
    } rows[] = {
        {KLTnumberOk,
         {"0", "-0", "+1", "1.", ".5", "-.5e3", "1E+5", "1e-5", "123456789.123456789",
          "1.7976931348623157e308", "4.9406564584124654e-324", "2.2250738585072011e-308",
          "9007199254740993", "0e999", "00012.50"}},
        {KLTnumberEmpty, {"", "-", "+"}},
        {KLTnumberInvalid,
         {".", "e5", ".e5", "1e", "1e+", "1.2.3", "inf", "-nan", "0x10", " 1", "1 ", "--1",
          "1e400x"}},
        {KLTnumberRange, {"1e400", "-1e400", "1e-400"}},
    };
    for (const auto& row : rows)
        for (const char* text : row.texts) {
            double value = untouched;
            EXPECT_EQ(KLTastrc(text).num(value), row.status) << text;
            const double expected =
                row.status == KLTnumberOk ? std::strtod(text, nullptr) : untouched;
            EXPECT_EQ(value, expected) << text;
            EXPECT_EQ(std::signbit(value), std::signbit(expected)) << text;
        }
}

TEST(Number, IsWrittenAsByPrintf) {
    std::mt19937_64 random(9);
    for (int i = 0; i < 5000; ++i) {
        const auto value = static_cast<long long>(random() >> random() % 64);
        const int width = static_cast<int>(random() % 30);
        const auto text = [&](char pad, char sign, int base) {
            return std::string(KLTastr().itos(value, pad, width, sign, base).text());
        };
        ASSERT_EQ(text(' ', 0, 10), printed("%*lld", width, value));
        ASSERT_EQ(text('0', 0, 10), printed("%0*lld", width, value));
        ASSERT_EQ(text(' ', '+', 10), printed("%+*lld", width, value));
        ASSERT_EQ(text('0', ' ', 10), printed("% 0*lld", width, value));
        ASSERT_EQ(text('\0', 0, 1), std::to_string(value)) << "base 1 is 10";
        if (value < 0) continue;
        ASSERT_EQ(text(' ', 0, 8), printed("%*llo", width, value));
        ASSERT_EQ(KLTastr().itosb(value, 16, width), printed("%0*llx", width, value).c_str());
    }
}

TEST(Number, ComesBackFromItsTextInEveryBase) {
    for (int base = 2; base <= 36; ++base)
        for (const long long value : {0LL, 1LL, -1LL, 35LL, -36LL, LLONG_MAX, LLONG_MIN}) {
            const KLTastr text = KLTastr().itosb(value, base);
            EXPECT_EQ(std::strtoll(text.text(), nullptr, base), value) << text.text();
        }
    EXPECT_STREQ(KLTastr().itos(LLONG_MIN, '*', 70, 0, 2).text(),
                 ("*****-1" + std::string(63, '0')).c_str());
}
