#include "baselib/text/strextr.h"

#include "baselib/text/number.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> tokens(KLTstrextr extractor, int maxLength = INT_MAX) {
    std::vector<std::string> result;
    KLTastr token;
    while (extractor.extract(token, maxLength) == KLTnumberOk)
        result.emplace_back(token.text());
    EXPECT_FALSE(extractor.skipDelims());
    return result;
}

std::vector<std::string> lines(KLTstrextr extractor, int count) {
    std::vector<std::string> result;
    for (; count > 0; --count)
        result.emplace_back(extractor.extractLine().text());
    return result;
}

using List = std::vector<std::string>;

// Extracts into a target that a failure must leave alone and the text untaken.
template <class Number>
void expect(const char* text, int base, int status, Number expected) {
    KLTstrextr extractor(text);
    Number value = 99;
    EXPECT_EQ(extractor.extract(value, base), status) << text;
    EXPECT_EQ(value, status == KLTnumberOk ? expected : 99) << text;
    KLTastr rest;
    EXPECT_EQ(extractor.extract(rest), status == KLTnumberOk ? KLTnumberEmpty : KLTnumberOk);
    EXPECT_EQ(rest, status == KLTnumberOk ? "" : text);
}

} // namespace

TEST(Strextr, SeparatesTokens) {
    EXPECT_EQ(tokens(KLTstrextr(" \ta  b\r\nc ")), (List{"a", "b", "c"}));
    EXPECT_EQ(tokens(KLTstrextr("a,b;;c d", ",;")), (List{"a", "b", "c d"}));
    EXPECT_EQ(tokens(KLTstrextr(",;,", ",;")), List{});
    EXPECT_EQ(tokens(KLTstrextr("")), List{});
    EXPECT_EQ(tokens(KLTstrextr("a b", "")), (List{"a b"}));
    EXPECT_EQ(tokens(KLTstrextr("a b", nullptr)), (List{"a b"}));
    EXPECT_EQ(tokens(KLTstrextr("abcde f"), 2), (List{"ab", "cd", "e", "f"}));
    EXPECT_EQ(tokens(KLTstrextr("ab"), 0), (List{"a", "b"}));
}

TEST(Strextr, SeparatesLines) {
    EXPECT_EQ(lines(KLTstrextr("a b\nc\r\n\rd\n\ne"), 7), (List{"a b", "c", "", "d", "", "e", ""}));
    EXPECT_EQ(lines(KLTstrextr("a\r\r\n"), 3), (List{"a", "", ""}));
    KLTstrextr mixed("set 5 rest of it\nnext");
    KLTastr word;
    int number = 0;
    EXPECT_EQ(mixed.extract(word), KLTnumberOk);
    EXPECT_EQ(mixed.extract(number), KLTnumberOk);
    EXPECT_TRUE(mixed.skipDelims());
    EXPECT_EQ(mixed.extractLine(), "rest of it");
    EXPECT_EQ(mixed.extractLine(), "next");
}

TEST(Strextr, ExtractsEveryTypeWithinItsRange) {
    expect<int>(" 2147483647", 10, KLTnumberOk, 2147483647);
    expect<int>("2147483648", 10, KLTnumberRange, 0);
    expect<int>("-2147483648", 10, KLTnumberOk, -2147483647 - 1);
    expect<int>("-2147483649", 10, KLTnumberRange, 0);
    expect<int>("7f", 16, KLTnumberOk, 127);
    expect<int>("$7f", 0, KLTnumberOk, 127);
    expect<int>("7f", 10, KLTnumberInvalid, 0);
    expect<int>("-", 10, KLTnumberEmpty, 0);
    expect<int>("1", 99, KLTnumberBase, 0);
    expect<long>(std::to_string(LONG_MIN).c_str(), 10, KLTnumberOk, LONG_MIN);
    expect<long>((std::to_string(LONG_MAX) + "0").c_str(), 10, KLTnumberRange, 0);
    expect<unsigned long>(std::to_string(ULONG_MAX).c_str(), 10, KLTnumberOk, ULONG_MAX);
    expect<unsigned long>("-1", 10, KLTnumberRange, 0);
    expect<unsigned long>("-0", 10, KLTnumberOk, 0);
    expect<long long>("-9223372036854775808", 10, KLTnumberOk, LLONG_MIN);
    double number = 0;
    KLTstrextr doubles("1.5 -2e3 x");
    EXPECT_EQ(doubles.extract(number), KLTnumberOk);
    EXPECT_EQ(number, 1.5);
    EXPECT_EQ(doubles.extract(number), KLTnumberOk);
    EXPECT_EQ(number, -2000);
    EXPECT_EQ(doubles.extract(number), KLTnumberInvalid);
    EXPECT_EQ(number, -2000);
}
