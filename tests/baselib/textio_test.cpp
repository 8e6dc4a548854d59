#include "baselib/print/astrs.h"
#include "baselib/print/in.h"
#include "baselib/print/memdump.h"
#include "baselib/print/nstream.h"
#include "baselib/print/ostrm.h"
#include "baselib/print/out_handle.h"
#include "baselib/print/vecprt.h"
#include "baselib/text/textarray.h"
#include "recording_sink.h"

#include <cstdint>
#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

namespace {

std::string textOf(const KLTastrc& text) { return text.text(); }

TEST(Astrs, BuildsAString) {
    KLTastrs message;
    message << "Missing USBs: " << 3 << KLNstream::width(4, '.') << true << KLNstream::cr;
    EXPECT_EQ(textOf(message.str()), "Missing USBs: 3...1\n");
    const KLTastr kept = message;
    EXPECT_EQ(kept.text(), message.str().text()) << "a copy shares the text";
    message << "more";
    EXPECT_EQ(textOf(kept), "Missing USBs: 3...1\n");
    message.clr();
    EXPECT_EQ(message.str().length(), 0);
    message << KLNstream::hex4 << 255;
    EXPECT_EQ(textOf(message.str()), "00ff");
}

TEST(Astrs, SinkAppends) {
    KLTastr text("a");
    KLTastrdevext sink(text);
    EXPECT_EQ(sink.ochar('b'), 1);
    EXPECT_EQ(sink.ostring("cd"), 0);
    EXPECT_EQ(sink.oblock("ef", 2), 0);
    EXPECT_EQ(sink.ostring(nullptr), 0);
    EXPECT_EQ(sink.oblock(nullptr, 1), -6848);
    EXPECT_EQ(textOf(text), "abcdef");
}

TEST(VecPrt, PrintsEveryElementSize) {
    const int8_t bytes[] = {1, -1, 127};
    const int16_t shorts[] = {1, -1, 32767};
    const int32_t words[] = {1, -1, 2147483647};
    const int64_t longs[] = {1, -1, INT64_MAX};
    KLTastrs s;
    s << KLTvecPrt(bytes, 3, ",", ";", 1) << KLTvecPrt(shorts, 3, ",", ";", 2)
      << KLTvecPrt(words, 3, ",", ";", 4) << KLTvecPrt(longs, 3, ",", ";", 8);
    EXPECT_EQ(textOf(s.str()), "1,-1,127;1,-1,32767;1,-1,2147483647;1,-1,9223372036854775807;");
}

TEST(VecPrt, FormatsEveryElementThereIs) {
    const unsigned char bytes[] = {0, 0xab, 255};
    KLTastrs s;
    s << KLNstream::Hex2 << KLTvecPrt(bytes, 3, " ", nullptr, 1) << '|' << 10
      << KLTvecPrt(nullptr, 3, ",", "a", 4) << KLTvecPrt(bytes, 0, ",", "b", 1)
      << KLTvecPrt(bytes, -1, ",", "c", 1) << KLTvecPrt(bytes, 1, ",", "d", 3);
    EXPECT_EQ(textOf(s.str()), "00 AB FF|10abcd");
    s.clr();
    s << KLNstream::pers << KLNstream::hex << KLTvecPrt(bytes, 2, nullptr, "!", 1) << 10;
    EXPECT_EQ(textOf(s.str()), "0ab!a");
}

std::string dumped(const KLTmemdump& memory, int bytesPerLine, int groupSize) {
    KLTastrs s;
    memory.dump(s, bytesPerLine, groupSize);
    return textOf(s.str());
}

TEST(Memdump, ShowsOffsetBytesAndCharacters) {
    std::vector<unsigned char> memory(18);
    std::iota(memory.begin(), memory.end(), static_cast<unsigned char>(0x18));
    memory[17] = 0xff;
    const KLTmemdump dump(memory.data(), 18);
    EXPECT_EQ(dumped(dump, 16, 8),
              "00000000: 18 19 1a 1b 1c 1d 1e 1f  20 21 22 23 24 25 26 27  ........ !\"#$%&'\n"
              "00000010: 28 ff                                             (.\n");
    EXPECT_EQ(dumped(KLTmemdump(memory.data() + 8, 3), 4, 0), "00000000: 20 21 22      !\"\n");
    EXPECT_EQ(dumped(KLTmemdump(memory.data() + 8, 4), 2, 1),
              "00000000: 20  21   !\n00000002: 22  23  \"#\n");
}

TEST(Memdump, NothingAndOddLineLengths) {
    const unsigned char memory[17]{};
    EXPECT_EQ(dumped(KLTmemdump(memory, 0), 16, 8), "");
    EXPECT_EQ(dumped(KLTmemdump(nullptr, 5), 16, 8), "");
    const KLTmemdump dump(memory, 17);
    for (const int bytesPerLine : {-1, 0, 65})
        EXPECT_EQ(dumped(dump, bytesPerLine, 8), dumped(dump, 16, 8));
    EXPECT_NE(dumped(dump, 64, 8), dumped(dump, 16, 8));
}

TEST(Ostrm, WritesTextsAsTheyAreAndReversed) {
    RecordingSink sink;
    KLTostrm stream(sink);
    stream << "abc" << static_cast<const char*>(nullptr) << KLTastr("def")
           << KLTreverseOut("ghi\xe4") << KLTreverseOut("");
    EXPECT_EQ(sink.take(), "abcdef\xe4ihg");
}

TEST(Textarray, PrintsEachTextAsAnItem) {
    KLTtextarray texts;
    texts.add("a");
    texts.add(KLTastr("bc"));
    KLTastrs s;
    s << KLNstream::width(3, '.') << texts;
    texts.clr();
    s << texts;
    EXPECT_EQ(textOf(s.str()), "..abc");
}

class OutHandle : public testing::Test {
protected:
    struct Close {
        void operator()(FILE* opened) const { fclose(opened); }
    };

    void SetUp() override { ASSERT_NE(file, nullptr); }

    std::string written() {
        rewind(file.get());
        char buffer[100];
        return {buffer, fread(buffer, 1, sizeof buffer, file.get())};
    }

    std::unique_ptr<FILE, Close> file{tmpfile()};
};

TEST_F(OutHandle, TranslatesLineEndsOfCharactersAndStrings) {
    for (const bool translate : {false, true}) {
        KLToutHandle handle(file.get(), translate);
        EXPECT_EQ(handle.ochar('\n'), 1);
        EXPECT_EQ(handle.ochar(0x1FF), 1);
        EXPECT_EQ(handle.ostring("a\nb\n"), 0);
        EXPECT_EQ(handle.oblock("\0\n", 2), 0);
        EXPECT_EQ(handle.ostring(nullptr), -6848);
        EXPECT_EQ(handle.oblock(nullptr, 1), -6848);
        EXPECT_EQ(handle.oblock("x", 0), -6848);
    }
    EXPECT_EQ(written(), std::string("\n\xff"
                                     "a\nb\n\0\n"
                                     "\r\n\xff"
                                     "a\r\nb\r\n\0\n",
                                     19));
}

TEST_F(OutHandle, FlushReachesTheFile) {
    KLToutHandle handle(file.get());
    handle.ostring("x");
    std::unique_ptr<FILE, Close> reader(
        fopen(("/proc/self/fd/" + std::to_string(fileno(file.get()))).c_str(), "r"));
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(fgetc(reader.get()), EOF);
    handle.oflush(true);
    rewind(reader.get());
    EXPECT_EQ(fgetc(reader.get()), 'x');
}

TEST(OutHandleFailures, StreamRefusesOrIsNone) {
    const std::unique_ptr<FILE, int (*)(FILE*)> reader(fopen("/dev/null", "r"), fclose);
    ASSERT_NE(reader, nullptr);
    const std::pair<FILE*, int> cases[] = {{reader.get(), EOF}, {nullptr, -6842}};
    for (const auto& [stream, failure] : cases)
        for (const bool translate : {false, true}) {
            KLToutHandle handle(stream, translate);
            EXPECT_EQ(handle.ochar('\n'), failure);
            EXPECT_EQ(handle.oblock("x", 1), failure);
            if (!translate) {
                EXPECT_EQ(handle.ostring("x"), failure);
            }
            handle.oflush(true);
        }
}

// Gives its bytes, then one code for ever.
class ByteSource : public KLTin {
public:
    explicit ByteSource(std::string bytes, int end = KLTioNoData)
        : bytes_(std::move(bytes)), end_(end) {}
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

TEST(In, BlocksEndWithTheData) {
    char buffer[8] = "-------";
    ByteSource source(std::string("ab\xff\0e\ng", 7));
    EXPECT_EQ(source.iblock(buffer, 0), 0);
    EXPECT_EQ(source.iblock(buffer, 4), 4);
    EXPECT_EQ(std::string(buffer, 5), std::string("ab\xff\0-", 5));
    EXPECT_EQ(source.iblock(buffer, 8), 3);
    EXPECT_EQ(std::string(buffer, 5), std::string("e\ng\0-", 5)) << "only the data was written";
    EXPECT_EQ(source.iblock(buffer, 8), 0);
    EXPECT_EQ(source.ipeek(), -6849);
}

TEST(In, LinesEndAtLineEndNulOrRoom) {
    struct {
        std::string bytes;
        int length;
        int result;
        const char* text;
    } const cases[] = {
        {"abc\nd", 8, 3, "abc"}, {std::string("ab\0c", 4), 8, 2, "ab"},
        {"abcdef", 4, 3, "abc"}, {"a", 2, 1, "a"},
        {"\n", 8, 0, ""},        {"ab", 8, 2, "ab"},
        {"", 8, -6849, ""},
    };
    for (const auto& item : cases) {
        char buffer[8] = "-------";
        ByteSource source(item.bytes);
        EXPECT_EQ(source.istring(buffer, item.length), item.result);
        EXPECT_STREQ(buffer, item.text);
    }
}

TEST(In, Failures) {
    char buffer[8] = "---";
    ByteSource broken("ab", -77);
    EXPECT_EQ(broken.istring(buffer, 1), -6848);
    EXPECT_EQ(broken.istring(nullptr, 8), -6848);
    EXPECT_EQ(broken.iblock(nullptr, 1), -6848);
    EXPECT_EQ(broken.iblock(buffer, -1), -6848);
    EXPECT_STREQ(buffer, "---");
    EXPECT_EQ(broken.iblock(buffer, 8), -77);
    EXPECT_EQ(broken.istring(buffer, 8), -77);
    EXPECT_STREQ(buffer, "");
}

} // namespace
