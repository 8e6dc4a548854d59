#include "baselib/text/astr.h"

#include "astr_model.h"
#include "support/captured_console.h"

#include "baselib/text/astr_node.h"

#include <gtest/gtest.h>
#include <new>

namespace {

// Opens the inside of a string, so that a test can look at it and damage it.
struct OpenString : KLTastr {
    using KLTastr::HN;
    using KLTastr::length_;
    using KLTastr::node_;
    using KLTastr::text_;

    using KLTastr::KLTastr;
    OpenString(const KLTastr& source) : KLTastr(source) {}
};

} // namespace

TEST(Astr, FollowsStdString) {
    EXPECT_NO_THROW(withRandomInputs(25, 10000, [](Choices& all) { AstrModel(all).run(); }));
}

TEST(Astr, MakesTextsOfTexts) {
    const char* const null = nullptr;
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
        {KLTastrc("\xC6\xE6\xDE\xFE\xD7\xF7\xFF").noUmlauts(), "AEaeThth\xD7\xF7y"},
        {KLTastr("ab").append("c\0d", 3).append('\0', 4).insert2(0, 256), "abc"},
        {KLTastr("ab").append(null, 3).append(KLTastr(null)), "ab"},
        {KLTastr("ab").assign(null), ""},
    };
    for (const auto& [made, expected] : rows)
        EXPECT_EQ(made, expected);
    EXPECT_TRUE(KLTastrc("\xEF\xBB\xBFx").hasBOM());
    EXPECT_FALSE(KLTastrc("x\xEF\xBB\xBF").hasBOM());
}

TEST(Astr, SizesItsNodeByTheLength) {
    const auto capacity = [](const KLTastr& string) { return OpenString(string).node_->capacity; };
    // Worked out by hand: (3n + 36) / 2 + 10, up to a multiple of 64, less 11.
    for (const auto& [length, expected] :
         {std::pair{1, 53}, {24, 53}, {25, 117}, {67, 117}, {68, 181}, {1000, 1525}})
        EXPECT_EQ(capacity(KLTastr().append('x', length)), expected) << length;
    EXPECT_EQ(capacity(KLTastr("x").cleanCopy(52)), 53);
    EXPECT_EQ(capacity(KLTastr("x").cleanCopy(53)), 117);
    EXPECT_EQ(capacity(KLTastr("x").append('x', 51)), 53);
    EXPECT_EQ(capacity(KLTastr("x").append('x', 52)), 117);
}

TEST(Astr, SharesItsNodeUntilItChanges) {
    const OpenString first("abc");
    OpenString second(first);
    EXPECT_FALSE(first.hasOverlap("abc"));
    EXPECT_TRUE(second.hasOverlap(first.text() + 2));
    second.delN(1, 0).append('x', -1).replace('x', 'y').replace(3, 0, "").pathRemDelim();
    EXPECT_EQ(second.node_, first.node_);
    EXPECT_EQ(first.node_->references, 2);
    EXPECT_NE(OpenString(static_cast<const KLTastrc&>(first)).node_, first.node_);
    EXPECT_EQ(second.cleanCopy(0), "abc");
    EXPECT_EQ(first.node_->references, 1);
}

TEST(Astr, CountsNodesAndBytes) {
    const KLTastrInfo before = KLTastr::info();
    KLTastr string("abc");
    EXPECT_EQ(KLTastr::info().nodesLive, before.nodesLive + 1);
    EXPECT_EQ(KLTastr::info().bytesHeld, before.bytesHeld + 64);
    string.append('x', 1 << 20).erase();
    const KLTastrInfo after = KLTastr::info();
    EXPECT_EQ(after.nodesAllocated, before.nodesAllocated + 2);
    EXPECT_EQ(after.nodesLive, before.nodesLive);
    EXPECT_EQ(after.bytesHeld, before.bytesHeld);
    EXPECT_GE(after.bytesPeak, before.bytesHeld + (1 << 20) * 3 / 2);
    std::vector<KLTastr> many;
    while (KLTastr::info().nodesLive <= after.nodesPeak)
        many.emplace_back("abc");
    EXPECT_EQ(KLTastr::info().nodesPeak, after.nodesPeak + 1);
}

TEST(Astr, ViewsCharactersThatChange) {
    char characters[] = "abc";
    const KLTastrc view(characters);
    characters[1] = '\0';
    EXPECT_EQ(view.length(), 3);
    EXPECT_EQ(view.trueLen(), 1);
    EXPECT_EQ(KLTastr(view).length(), 1);
}

TEST(Astr, RefusesATextTooLongForANodeAndStaysAsItIs) {
    KLTastr string("abc");
    EXPECT_THROW(string.append('x', INT_MAX), std::bad_alloc);
    EXPECT_THROW(string.append('x', INT_MAX - 3), std::bad_array_new_length);
    EXPECT_THROW(string.append('x', 2147483570), std::bad_array_new_length);
    EXPECT_THROW(string.cleanCopy(INT_MAX), std::bad_array_new_length);
    EXPECT_EQ(string, "abc");
}

TEST(Astr, TellsTheFirstInconsistency) {
    const auto codeAfter = [](void (*damage)(OpenString&)) {
        struct {
            OpenString::HN head{53, 99};
            char text[8] = "abc";
        } node;
        OpenString string;
        string.node_ = &node.head;
        string.text_ = node.text;
        string.length_ = 3;
        damage(string);
        int code = 0;
        try {
            const KLTastr looksByItself(string);
        } catch (int thrown) {
            code = thrown;
        }
        string.node_ = nullptr;
        return code;
    };
    CapturedConsole console;
    EXPECT_EQ(codeAfter([](OpenString&) {}), 0);
    EXPECT_EQ(codeAfter([](OpenString& s) { s.clr(); }), 0);
    EXPECT_EQ(codeAfter([](OpenString& s) { s.text_ = nullptr; }), -1);
    EXPECT_EQ(codeAfter([](OpenString& s) { s.node_ = nullptr; }), -2);
    EXPECT_EQ(codeAfter([](OpenString& s) { s.node_ = nullptr, s.length_ = 0; }), -3);
    EXPECT_EQ(codeAfter([](OpenString& s) { s.length_ = 0; }), -4);
    EXPECT_EQ(codeAfter([](OpenString& s) { ++s.text_; }), -5);
    EXPECT_EQ(codeAfter([](OpenString& s) { s.node_->references = -1, s.length_ = 53; }), -6);
    EXPECT_EQ(codeAfter([](OpenString& s) { *s.node_->text() = '\0'; }), -7);
    EXPECT_EQ(codeAfter([](OpenString& s) { s.node_->references = -1, s.length_ = 2; }), -8);
    EXPECT_EQ(codeAfter([](OpenString& s) { s.length_ = 2; }), -9);
    OpenString nodeless;
    nodeless.length_ = 1;
    EXPECT_THROW(nodeless.checkKrnl2(77), int);
    EXPECT_THROW(KLTastr() = nodeless, int);
    EXPECT_NE(console.error().find("\r\nKLTastr::check() error -2 in line 77\r\n"),
              std::string::npos);
}
