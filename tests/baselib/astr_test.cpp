#include "astr_model.h"

#include "baselib/text/astr.h"
#include "baselib/text/astr_node.h"

#include <gtest/gtest.h>

#include <new>
#include <random>

namespace {

// Opens the inside of a string, so that a test can look at it and damage it.
struct OpenString : KLTastr {
    using KLTastr::HN;
    using KLTastr::length_;
    using KLTastr::node_;
    using KLTastr::text_;

    using KLTastr::KLTastr;
    OpenString(const KLTastr& source) : KLTastr(source) {}

    int32_t capacity() const { return node_ ? node_->capacity : 0; }
    int32_t references() const { return node_ ? node_->references : 0; }
};

} // namespace

TEST(Astr, FollowsStdStringThroughRandomChanges) {
    const KLTastrInfo before = KLTastr::info();
    for (unsigned seed = 1; seed <= 8; ++seed) {
        std::mt19937 random(seed);
        AstrModel model([&random](unsigned limit) { return random() % limit; });
        for (int step = 0; step < 20000; ++step)
            ASSERT_TRUE(model.step()) << "seed " << seed << ", step " << step;
    }
    const KLTastrInfo after = KLTastr::info();
    EXPECT_EQ(after.nodesLive, before.nodesLive);
    EXPECT_EQ(after.bytesHeld, before.bytesHeld);
    EXPECT_GT(after.nodesAllocated, before.nodesAllocated);
}

TEST(Astr, IsEmptyWithoutANodeFromNullAndFromNoCharacters) {
    const char* const null = nullptr;
    const OpenString strings[] = {{}, null, "", KLTastr(KLTastrc()), KLTastr().assign("abc", 3)};
    for (const OpenString& string : strings) {
        EXPECT_EQ(string.length(), 0);
        EXPECT_STREQ(string.text(), "");
        EXPECT_EQ(string.node_, nullptr);
        EXPECT_EQ(string.text(), KLTastrc().text());
    }
}

TEST(Astr, SizesItsNodeByTheLength) {
    // Worked out by hand: (3n + 36) / 2 + 10, up to a multiple of 64, less 11.
    constexpr struct {
        int length;
        int32_t capacity;
    } rows[] = {
        {1, 53}, {10, 53}, {24, 53}, {25, 117}, {40, 117}, {67, 117}, {68, 181}, {1000, 1525},
    };
    for (const auto& row : rows) {
        const OpenString string(KLTastr().append('x', row.length));
        EXPECT_EQ(string.capacity(), row.capacity) << row.length;
    }
}

TEST(Astr, SharesANodeUntilOneOfTheCopiesChanges) {
    const OpenString first("abc");
    OpenString second(first);
    EXPECT_EQ(second.node_, first.node_);
    EXPECT_EQ(first.references(), 2);
    second.append('d');
    EXPECT_STREQ(first.text(), "abc");
    EXPECT_STREQ(second.text(), "abcd");
    EXPECT_EQ(first.references(), 1);
    const OpenString own(static_cast<const KLTastrc&>(first));
    EXPECT_NE(own.node_, first.node_);
}

TEST(Astr, KeepsItsNodeWhileTheTextFits) {
    OpenString string("abc");
    const void* const node = string.node_;
    string.append('x', 49).replace(0, 3, "y");
    EXPECT_EQ(string.node_, node);
    string.append('x', 3);
    EXPECT_NE(string.node_, node) << "53 characters and their NUL do not fit into 53 bytes";
}

TEST(Astr, ChangesNothingWhenNothingIsToChange) {
    OpenString string("abc");
    const OpenString copy(string);
    string.append("").append('x', 0).append('\0', 4).delN(1, 0).delN(9, 9).replace('x', 'y');
    string.pathAddDelim().dellast(1);
    EXPECT_STREQ(string.text(), "abc");
    EXPECT_EQ(copy.references(), 1);
    OpenString unchanged(copy);
    unchanged.append("").replace('x', 'y').dellast(-1).insert2(0, 'x', -1);
    EXPECT_EQ(unchanged.node_, copy.node_);
}

TEST(Astr, CountsNodesAndBytes) {
    const KLTastrInfo before = KLTastr::info();
    KLTastr string("abc");
    EXPECT_EQ(KLTastr::info().nodesLive, before.nodesLive + 1);
    EXPECT_EQ(KLTastr::info().bytesHeld, before.bytesHeld + 64);
    string.delN(0, 3); // the last character frees the node
    { const KLTastr large(KLTastr().append('x', 1 << 20)); }
    const KLTastrInfo after = KLTastr::info();
    EXPECT_EQ(after.nodesLive, before.nodesLive);
    EXPECT_EQ(after.bytesHeld, before.bytesHeld);
    EXPECT_GE(after.bytesPeak, before.bytesHeld + (1 << 20) * 3 / 2);
    EXPECT_GE(after.nodesPeak, before.nodesLive + 1);
}

TEST(Astr, EndsASourceAtItsNul) {
    KLTastr string;
    string.append("ab\0cd", 5).append('\0').insert2(0, 256);
    EXPECT_STREQ(string.text(), "ab");
    char changing[] = "abc";
    const KLTastrc view(changing);
    changing[1] = '\0';
    EXPECT_EQ(view.length(), 3);
    EXPECT_EQ(view.trueLen(), 1);
    EXPECT_EQ(KLTastr(view).length(), 1);
}

// Positions just outside the text are among the random changes.
TEST(Astr, CutsExtremePositionsAndCountsToTheText) {
    const auto of = [](const char* text) { return KLTastr(text); };
    EXPECT_EQ(of("abc").insert2(INT_MIN, 'x', 2).insert2(INT_MAX, 'x', 2), "xxabcxx");
    EXPECT_EQ(of("abc").replace(INT_MAX, INT_MAX, "x").replace(-5, INT_MAX, "y"), "y");
    EXPECT_EQ(of("abc").delN(INT_MIN, 1).delN(1, INT_MAX), "b");
    EXPECT_EQ(of("abc").delRange(2, INT_MIN).delRange(INT_MIN, INT_MAX), "");
    EXPECT_EQ(of("abc").cleanCopy(INT_MIN).dellast(INT_MAX), "");
    EXPECT_EQ(of("x").assign("abc", INT_MIN, INT_MAX), "abc");
    EXPECT_EQ(of("x").assign(KLTastrc("abc"), INT_MAX, INT_MAX), "");
}

TEST(Astr, RefusesATextTooLongForANodeAndStaysAsItIs) {
    KLTastr string("abc");
    EXPECT_THROW(string.append('x', INT_MAX), std::bad_alloc);
    EXPECT_THROW(string.append('x', INT_MAX - 3), std::bad_array_new_length);
    EXPECT_THROW(string.append('x', 2147483570), std::bad_array_new_length);
    EXPECT_THROW(string.cleanCopy(INT_MAX), std::bad_array_new_length);
    EXPECT_EQ(string, "abc");
    string.checkKrnl2(__LINE__);
}

TEST(Astr, MakesRoomInANodeOfItsOwn) {
    OpenString string("abc");
    const OpenString copy(string);
    string.cleanCopy(1000);
    EXPECT_EQ(copy.references(), 1);
    EXPECT_EQ(string.capacity(), 1525);
    EXPECT_STREQ(string.text(), "abc");
    EXPECT_EQ(OpenString(KLTastr().cleanCopy(1000)).node_, nullptr);
}

TEST(Astr, CountsWhatItReplaces) {
    KLTastr string("a-b-c-");
    EXPECT_EQ(string.replaceAll("-", "--"), 3);
    EXPECT_EQ(string, "a--b--c--");
    EXPECT_EQ(string.replaceAll("bc", '*'), 2);
    EXPECT_EQ(string.replaceAll("-", 0), 6);
    EXPECT_EQ(string, "a**");
    EXPECT_EQ(string.replaceFirst("A", "b"), -1);
    EXPECT_EQ(string.replaceFirst("A", "b", false), 0);
    EXPECT_EQ(string, "b**");
}

using Damage = void (*)(OpenString&);

// Does damage, reads the code of the check and mends the damage before the string goes.
int codeAfter(const char* text, Damage damage) {
    OpenString string(text);
    const OpenString whole(string);
    const OpenString::HN head = string.node_ ? *string.node_ : OpenString::HN{};
    const char first = *string.text_;
    damage(string);
    testing::internal::CaptureStderr();
    int code = 0;
    try {
        string.checkKrnl2(77);
    } catch (int caught) {
        code = caught;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              code ? "KLTastr::check() error " + std::to_string(code) + " in line 77\r\n" : "");
    string.text_ = whole.text_;
    string.length_ = whole.length_;
    string.node_ = whole.node_;
    if (string.node_) {
        *string.node_ = head;
        *string.node_->text() = first;
    }
    return code;
}

TEST(AstrCheck, FindsTheFirstInconsistency) {
    constexpr struct {
        int code;
        const char* text;
        Damage damage;
    } rows[] = {
        {0, "", [](OpenString&) {}},
        {0, "abc", [](OpenString&) {}},
        {-1, "abc", [](OpenString& s) { s.text_ = nullptr; }},
        {-2, "", [](OpenString& s) { s.length_ = 1; }},
        {-3, "", [](OpenString& s) { s.text_ = "x"; }},
        {-4, "abc", [](OpenString& s) { s.length_ = 0; }},
        {-5, "abc", [](OpenString& s) { ++s.text_; }},
        {-6, "abc", [](OpenString& s) { s.node_->capacity = 3; }},
        {-7, "abc", [](OpenString& s) { *s.node_->text() = '\0'; }},
        {-8, "abc", [](OpenString& s) { s.node_->references = 0; }},
        {-9, "abc", [](OpenString& s) { s.length_ = 2; }},
        {-8, "abc", [](OpenString& s) { s.node_->references = 0, s.length_ = 2; }},
        {-6, "abc", [](OpenString& s) { s.node_->references = 0, s.length_ = 60; }},
    };
    for (const auto& row : rows)
        EXPECT_EQ(codeAfter(row.text, row.damage), row.code);
}

TEST(AstrCheck, RunsAfterAnAssignment) {
    OpenString damaged("abc");
    damaged.length_ = 2;
    testing::internal::CaptureStderr();
    EXPECT_THROW(KLTastr(static_cast<const KLTastr&>(damaged)), int);
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    --damaged.node_->references; // of the copy that was never finished
    damaged.length_ = 3;
}
