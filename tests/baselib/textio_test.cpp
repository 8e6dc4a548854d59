#include "baselib/print/astrs.h"
#include "baselib/print/in.h"
#include "baselib/print/memdump.h"
#include "baselib/print/nstream.h"
#include "baselib/print/ostrm.h"
#include "baselib/print/vecprt.h"
#include "baselib/text/textarray.h"
#include "recording_sink.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <numeric>
#include <string>
#include <utility>

namespace {

using namespace KLNstream;

std::string textOf(const KLTastrc& text) { return text.text(); }

TEST(Astrs, BuildsAString) {
    KLTastrs message;
    message << "Missing USBs: " << 3 << width(4, '.') << true << cr;
    const KLTastr kept = message;
    EXPECT_EQ(kept.text(), message.str().text()) << "a copy shares the text";
    message << "more";
    EXPECT_EQ(textOf(kept), "Missing USBs: 3...1\n");
    EXPECT_EQ(textOf(message), "Missing USBs: 3...1\nmore");
    message.clr();
    message << hex4 << 255;
    EXPECT_EQ(textOf(message.str()), "00ff");
    KLTastr text("a");
    KLTastrdevext sink(text);
    EXPECT_EQ(sink.ochar('b'), 1);
    EXPECT_EQ(sink.ostring("cd"), 0);
    EXPECT_EQ(sink.ostring(nullptr), 0);
    EXPECT_EQ(sink.oblock("ef", 2), 0);
    EXPECT_EQ(textOf(text), "abcdef");
}

TEST(VecPrt, FormatsEveryElementThereIsOfEverySize) {
    const int8_t bytes[] = {1, -1, 127};
    const int16_t shorts[] = {1, -1, 32767};
    const int32_t words[] = {1, -1, 2147483647};
    const int64_t longs[] = {1, -1, INT64_MAX};
    RecordingSink sink;
    KLTprint print(sink);
    print << KLTvecPrt(bytes, 3, ",", ";", 1) << KLTvecPrt(shorts, 3, ",", ";", 2)
          << KLTvecPrt(words, 3, ",", ";", 4) << KLTvecPrt(longs, 3, ",", ";", 8);
    EXPECT_EQ(sink.take(), "1,-1,127;1,-1,32767;1,-1,2147483647;1,-1,9223372036854775807;");
    print << Hex2 << KLTvecPrt(bytes, 3, " ", nullptr, 1) << '|' << 10
          << KLTvecPrt(nullptr, 3, ",", "a", 4) << KLTvecPrt(bytes, 0, ",", "b", 1)
          << KLTvecPrt(bytes, -1, ",", "c", 1) << KLTvecPrt(bytes, 1, ",", "d", 3);
    EXPECT_EQ(sink.take(), "01 FF 7F|10abcd");
    print << pers << hex << KLTvecPrt(bytes, 2, nullptr, "!", 1) << 10;
    EXPECT_EQ(sink.take(), "1ff!a");
}

TEST(Memdump, ShowsOffsetBytesAndCharacters) {
    unsigned char memory[18];
    std::iota(memory, memory + 18, static_cast<unsigned char>(0x18));
    memory[15] = '~';
    memory[16] = 0x7f;
    memory[17] = 0xff;
    RecordingSink sink;
    KLTprint print(sink);
    const KLTmemdump dump(memory, 18);
    print << pers << dec << width(9);
    dump.dump(print);
    const std::string by_default = sink.take();
    EXPECT_EQ(by_default,
              "00000000: 18 19 1a 1b 1c 1d 1e 1f  20 21 22 23 24 25 26 7e  ........ !\"#$%&~\n"
              "00000010: 7f ff                                             ..\n");
    for (const int bytes_per_line : {-1, 0, 65}) {
        dump.dump(print, bytes_per_line);
        EXPECT_EQ(sink.take(), by_default);
    }
    KLTmemdump(memory, 0).dump(print);
    KLTmemdump(nullptr, 5).dump(print);
    KLTmemdump(memory + 8, 4).dump(print, 2, 1);
    KLTmemdump(memory + 8, 1).dump(print, 1, 0);
    EXPECT_EQ(sink.take(), "00000000: 20  21   !\n00000002: 22  23  \"#\n00000000: 20   \n");
    dump.dump(print, 64, 0);
    EXPECT_EQ(sink.take().size(), 10U + 64 * 3 + 2 + 18) << "in one line";
}

TEST(Ostrm, WritesTextsAsTheyAreAndReversed) {
    RecordingSink sink;
    KLTostrm(sink) << "abc" << static_cast<const char*>(nullptr) << KLTastr("def")
                   << KLTreverseOut("ghi\xe4") << KLTreverseOut("");
    EXPECT_EQ(sink.take(), "abcdef\xe4ihg");
}

TEST(Textarray, PrintsEachTextAsAnItem) {
    KLTtextarray texts;
    texts.add("a");
    texts.add(KLTastr("bc"));
    RecordingSink sink;
    KLTprint print(sink);
    print << width(3, '.') << texts;
    EXPECT_EQ(sink.take(), "..abc");
}

// Gives its bytes, then one code for ever.
class ByteSource : public KLTin {
public:
    explicit ByteSource(std::string bytes, int end) : bytes_(std::move(bytes)), end_(end) {}
    int ichar() override {
        return next_ < bytes_.size() ? static_cast<unsigned char>(bytes_[next_++]) : end_;
    }
    int icharns() override { return ichar(); }
    int icharti(long long) override { return ichar(); }
    int iempty() override { return next_ == bytes_.size(); }

private:
    std::string bytes_;
    size_t next_ = 0;
    int end_;
};

TEST(In, BlocksAndLinesEndWithTheDataOrAFailure) {
    using std::string;
    const struct {
        string bytes;
        int end;
        int length;
        int block; // results
        int line;
        const char* text;
    } cases[] = {
        {"abc\nd", -6849, 8, 5, 3, "abc"},  {{"ab\0\xff", 4}, -6849, 4, 4, 2, "ab"},
        {"abcdef", -6849, 4, 4, 3, "abc"},  {"\xff", -6849, 2, 1, 1, "\xff"},
        {"\n", -6849, 8, 1, 0, ""},         {"", -6849, 8, 0, -6849, ""},
        {"ab", -77, 8, -77, 2, "ab"},       {"", -77, 8, -77, -77, ""},
        {"ab", -77, 1, 1, -6848, "-"},      {"ab", -77, 0, 0, -6848, "-"},
        {"ab", -77, -1, -6848, -6848, "-"},
    };
    for (const auto& c : cases) {
        char block[9] = "--------";
        char line[9] = "-\0------";
        EXPECT_EQ(ByteSource(c.bytes, c.end).iblock(block, c.length), c.block);
        EXPECT_EQ(ByteSource(c.bytes, c.end).istring(line, c.length), c.line);
        EXPECT_EQ(block[std::max(c.block, 2)], '-') << "more than the data was written";
        EXPECT_EQ(c.bytes.compare(0, std::max(c.block, 0), block, std::max(c.block, 0)), 0);
        EXPECT_STREQ(line, c.text);
        EXPECT_EQ(ByteSource(c.bytes, c.end).iblock(nullptr, 1), -6848);
        EXPECT_EQ(ByteSource(c.bytes, c.end).istring(nullptr, 8), -6848);
    }
    EXPECT_EQ(ByteSource("a", -6849).ipeek(), -6849);
}

} // namespace
