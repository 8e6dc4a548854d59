#include "astr_model.h"

#include "baselib/text/astr.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace {

int position(std::size_t found) {
    return found == std::string::npos ? -1 : static_cast<int>(found);
}

std::mt19937 generator{11};

int number(int from, int to) {
    return from + static_cast<int>(generator() % static_cast<unsigned>(to - from + 1));
}

std::string anyText(int longest) {
    std::string result;
    for (int count = number(0, longest); count > 0; --count)
        result += "abAB "[number(0, 4)];
    return result;
}

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return static_cast<char>(tolower(c)); });
    return text;
}

void compareSearches(const std::string& text, const std::string& other, int start) {
    const KLTastrc view(text.c_str());
    const KLTastrc sought(other.c_str());
    const std::size_t from = static_cast<std::size_t>(std::max(start, 0));
    ASSERT_EQ(view.findStr(sought, true, start), position(text.find(other, from)));
    ASSERT_EQ(view.findStr(sought, false, start), position(lower(text).find(lower(other), from)));
    ASSERT_EQ(view.findChr(sought, start), position(text.find_first_of(other, from)));
    ASSERT_EQ(view.findChrOther(sought, start), position(text.find_first_not_of(other, from)));
    const auto backward = [start, from](auto find) {
        return start < 0 ? -1 : position(find(from));
    };
    ASSERT_EQ(view.findRev(sought, true, start),
              backward([&](std::size_t last) { return text.rfind(other, last); }));
    ASSERT_EQ(view.findRev(sought, false, start),
              backward([&](std::size_t last) { return lower(text).rfind(lower(other), last); }));
    ASSERT_EQ(view.findChrRev(sought, start),
              backward([&](std::size_t last) { return text.find_last_of(other, last); }));
    ASSERT_EQ(view.findChrOtherRev(sought, start),
              backward([&](std::size_t last) { return text.find_last_not_of(other, last); }));
}

void compareParts(const std::string& text, int pos, int n) {
    const KLTastrc view(text.c_str());
    const std::size_t from = std::min(static_cast<std::size_t>(std::max(pos, 0)), text.size());
    const std::size_t count = static_cast<std::size_t>(std::max(n, 0));
    std::string part = text.substr(from, count);
    ASSERT_EQ(characters(view.substr(pos, n)), part);
    ASSERT_EQ(characters(view.left(n)), text.substr(0, count));
    ASSERT_EQ(characters(view.right(n)), text.substr(text.size() - std::min(count, text.size())));
    part.resize(count, ' ');
    ASSERT_EQ(characters(view.substrN(pos, n)), part);
    ASSERT_EQ(characters(view.getUpTo("ab", pos)),
              text.substr(from, text.find_first_of("ab", from) - from));
    ASSERT_EQ(view.into(pos), pos < 0 || from == text.size() ? 0 : text[from]);
}

} // namespace

TEST(Astrc, SearchesAndCutsLikeStdString) {
    for (int i = 0; i < 20000; ++i) {
        const std::string text = anyText(12);
        SCOPED_TRACE(text);
        const int pos = number(-2, 14);
        ASSERT_NO_FATAL_FAILURE(compareSearches(text, anyText(3), pos));
        ASSERT_NO_FATAL_FAILURE(compareParts(text, pos, number(-2, 14)));
    }
}

TEST(Astrc, FindsWholeWords) {
    const struct {
        const char* text;
        const char* word;
        bool caseSensitive;
        int start;
        int expected;
    } rows[] = {
        {"run", "run", true, 0, 0},      {"rerun runs _run run2 run", "run", true, 0, 21},
        {"(run)", "run", true, 0, 1},    {"run, run", "run", true, 1, 5},
        {"\xE4run", "run", true, 0, -1}, // a letter too
        {"a RUN", "run", false, 0, 2},   {"a RUN", "run", true, 0, -1},
        {"run", "", true, 0, -1},        {"run", "run", true, 9, -1},
    };
    for (const auto& row : rows)
        EXPECT_EQ(KLTastrc(row.text).findWord(row.word, row.caseSensitive, row.start), row.expected)
            << row.text;
}

TEST(Astrc, MakesTextsOfTexts) {
    const struct {
        KLTastr made;
        const char* expected;
    } rows[] = {
        {KLTastrc(" \t a b \r\n").trimmed(), "a b"},
        {KLTastrc("--a-b--").trimmed("-"), "a-b"},
        {KLTastrc("---").trimmed("-"), ""},
        {KLTastrc(" a ").trimmed(""), " a "},
        {KLTastrc("\r\none\r\n\r\ntwo\nthree\n").unbreak(), "one two three"},
        {KLTastrc("\n\n").unbreak(), ""},
        {KLTastrc("a;b  c").unbreak(";"), "a b  c"},
        {KLTastrc("a\x7F\x80\xBF\xC0\xFF").toUTF8(), "a\x7F\xC2\x80\xC2\xBF\xC3\x80\xC3\xBF"},
        {KLTastrc("\xC4\xD6\xDC\xE4\xF6\xFC\xDF").noUmlauts(), "AeOeUeaeoeuess"},
        {KLTastrc("\xC6\xE9\xF1\xF8\xFF\xDE\xFE").noUmlauts(), "AEenoyThth"},
        {KLTastrc("a\xD7\xF7\xA7 1").noUmlauts(), "a\xD7\xF7\xA7 1"},
        {KLTastr("a\xE4\xDF\xFF\xF7z").toUpper(), "A\xC4\xDF\xFF\xF7Z"},
        {KLTastr("A\xC4\xDE\xD7Z").toLower(), "a\xE4\xFE\xD7z"},
    };
    for (const auto& row : rows)
        EXPECT_STREQ(row.made.text(), row.expected);
}

TEST(Astrc, TellsSpecialCharacters) {
    const struct {
        const char* text;
        bool control, blank, beyondAscii;
    } rows[] = {
        {"az09~", false, false, false}, {"a\x1F", true, false, false},
        {"a\x7F", true, false, false},  {"a b", false, true, false},
        {"a\x80", true, false, true},   {"\xA0", false, true, true},
        {"\xE4", false, false, true},
    };
    for (const auto& row : rows) {
        const KLTastrc text(row.text);
        EXPECT_EQ(text.hasSpecial(true, false, false), row.control) << row.text;
        EXPECT_EQ(text.hasSpecial(false, true, false), row.blank) << row.text;
        EXPECT_EQ(text.hasSpecial(false, false, true), row.beyondAscii) << row.text;
    }
    EXPECT_TRUE(KLTastrc("\xEF\xBB\xBFx").hasBOM());
    EXPECT_FALSE(KLTastrc("\xEF\xBB").hasBOM());
    EXPECT_FALSE(KLTastrc("x\xEF\xBB\xBF").hasBOM());
}
