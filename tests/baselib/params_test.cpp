#include "baselib/params.h"

#include "baselib/text/astr.h"

#include <gtest/gtest.h>
#include <limits>
#include <sstream>

namespace {

// Status, what became of every argument, and the targets, told as letters; 7 is untouched.
std::string parsed(std::vector<const char*> arguments, bool caseSensitive, const char* format,
                   const std::string& letters) {
    unsigned char flags[] = {7, 7, 7, 7};
    long number = 7;
    long long longNumber = 7;
    KLTastr text = "7";
    void* targets[4] = {};
    for (std::size_t i = 0; i < letters.size(); ++i)
        targets[i] = letters[i] == 'l'   ? static_cast<void*>(&number)
                     : letters[i] == 'L' ? static_cast<void*>(&longNumber)
                     : letters[i] == 's' ? static_cast<void*>(&text)
                                         : &flags[i];
    arguments.insert(arguments.begin(), "program");
    const auto count = static_cast<int>(arguments.size());
    KLTparams params(count, arguments.data(), caseSensitive);
    std::ostringstream result;
    result << params(format, targets[0], targets[1], targets[2], targets[3]) << ":";
    for (int i = 0; i < count; ++i)
        result << " " << params.used(i);
    for (std::size_t i = 0; i < letters.size(); ++i)
        letters[i] == 'l'   ? result << ", " << number
        : letters[i] == 'L' ? result << ", " << longNumber
        : letters[i] == 's' ? result << ", " << text.text()
                            : result << ", " << int{flags[i]};
    return result.str();
}

} // namespace

TEST(Params, FollowTheFormat) {
    const struct {
        std::vector<const char*> arguments;
        const char* format;
        const char* letters;
        std::string expected;
        bool caseSensitive = true;
    } rows[] = {
        {{}, "program%p a%P a%%s", "pPsp", "0: 3, 0, 1, 7, 0"},
        {{"b", "ab", "abc"}, "ab%%p b%P", "ppP", "0: 0 1 1 0, 1, 1, 0"},
        {{"x", "AB"}, "ab%p a%p", "pp", "0: 2 0 0, 0, 0"},
        {{"AB", "\xE4"}, "ab%p \xC4%P", "pP", "0: 0 1 1, 1, 0", false},
        {{"a", "-12", "b", "-12"}, "a%%l b%L", "lpL", "0: 0 1 2 1 2, -12, 1, -12"},
        {{"a", "0x1F", "b", "010"}, "a%l\t\r\nb%%L", "lLp", "0: 0 1 2 1 2, 31, 8, 1"},
        {{"a", "08", "b", "12x"}, "a%%l b%L 0%p", "lpLp", "0: 0 1 1 1 0, 7, 0, 7, 1"},
        {{"a", "", "b", "9999999999"}, "a%l b%L", "lL", "0: 0 1 0 1 2, 7, 9999999999"},
        {{"a", "9999999999999999999"},
         "a%l",
         "l",
         "0: 0 1 2, " + std::to_string(std::numeric_limits<long>::max())},
        {{"a", "", "b", "c d"}, "a%s", "s", "0: 0 1 2 0 0, "},
        {{"a", "b", "c"}, "a%%s c%s", "sps", "-8844: 0 1 2 1, b, 1, b"},
        {{"a", "b"}, "a%p a%p", "pp", "-8842: 0 1 0, 1, 7"},
        {{"a", "b"}, "b%p a%s", "ps", "-8842: 0 1 1, 1, 7"},
        {{"a", "b"}, "a%s b%p", "sp", "-8842: 0 1 2, b, 7"},
        {{"\x80\x7F!\"", "b"}, "\x80\x7F!\"%p\x01 b%P", "pP", "0: 0 1 1, 1, 0"},
        {{"a"}, "a%p ", "p", "0: 0 1, 1"},
        {{"a"}, "%p", "p", "-8846: 0 0, 7"},
        {{"a"}, "a", "p", "-8847: 0 0, 7"},
        {{"a"}, " a%p", "p", "-8847: 0 0, 7"},
        {{"a"}, "a\x01%p", "p", "-8847: 0 0, 7"},
        {{"a"}, "a%x", "p", "-8845: 0 1, 7"},
        {{"a"}, "a%", "p", "-8845: 0 1, 7"},
        {{"a"}, "a%% ", "p", "-8845: 0 1, 7"},
    };
    for (const auto& [arguments, format, letters, expected, caseSensitive] : rows)
        EXPECT_EQ(parsed(arguments, caseSensitive, format, letters), expected) << format;
}

TEST(Params, AnswerEachFaultOfTheCall) {
    const char* argv[] = {"program", "run", nullptr};
    EXPECT_EQ(KLTparams(-1, argv, true).parse("x%p"), -8849);
    EXPECT_EQ(KLTparams(2, argv, true).parse(nullptr), -8849);
    EXPECT_EQ(KLTparams(2, nullptr, true).parse(""), -8849);
    EXPECT_EQ(KLTparams(3, argv, true)(""), -8848);
    EXPECT_EQ(KLTparams(2, argv, true).used(2), 0);
    EXPECT_EQ(KLTparams(-1, argv, true).used(-1), 0);
    bool missing = false;
    EXPECT_EQ(KLTparams(0, argv, true)("x%P", &missing), 0);
    EXPECT_TRUE(missing);
}

TEST(Params, CountUnmatchedKeywordsUpTo255) {
    const char* argv[] = {"program"};
    KLTparams params(1, argv, true);
    for (int count = 1; count < 300; ++count) {
        bool missing = false;
        EXPECT_EQ(params.parse("name%P", &missing), 0);
        EXPECT_TRUE(missing);
        EXPECT_EQ(params.used(0), std::min(count, 255));
    }
}
