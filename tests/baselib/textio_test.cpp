#include "baselib/print/astrs.h"
#include "baselib/print/fileout.h"
#include "baselib/print/in.h"
#include "baselib/print/memdump.h"
#include "baselib/print/nstream.h"
#include "baselib/print/ostrm.h"
#include "baselib/print/vecprt.h"
#include "baselib/text/textarray.h"
#include "recording_sink.h"
#include "support/scratch_folder.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <memory>
#include <vector>

namespace {

using namespace KLNstream;
using testing::Each;

class TextIo : public testing::Test {
protected:
    RecordingSink sink;
    KLTprint print{sink};
};

TEST_F(TextIo, StringsAreBuilt) {
    KLTastrs message;
    message << "old";
    const KLTastr kept = message;
    message.clr();
    message << "Missing USBs: " << 3 << width(4, '.') << true << cr;
    EXPECT_EQ(message.output().ostring(nullptr), 0);
    EXPECT_STREQ(kept.text(), "old");
    EXPECT_STREQ(message.str().text(), "Missing USBs: 3...1\n");
}

TEST_F(TextIo, VectorsPrintEveryElementThereIsOfEverySize) {
    const long long words[] = {-9191740939516731248LL, 1};
    for (const int size : {1, 2, 4, 8})
        print << KLTvecPrt(words, 2, ",", ";", size);
    EXPECT_EQ(sink.take(),
              "-112,-96;-24432,-16208;-1062166384,-2140118960;-9191740939516731248,1;");
    const signed char bytes[] = {1, -1};
    print << Hex2 << KLTvecPrt(bytes, 2, " ", nullptr, 1) << '|' << 10
          << KLTvecPrt(nullptr, 3, ",", "a", 4) << KLTvecPrt(bytes, 0, ",", "b", 1)
          << KLTvecPrt(bytes, -1, ",", "c", 1) << KLTvecPrt(bytes, 1, ",", "d", 3) << pers << hex
          << KLTvecPrt(bytes, 2, nullptr, "!", 1) << 10;
    EXPECT_EQ(sink.take(), "01 FF|10abcd1ff!a");
}

TEST_F(TextIo, DumpsShowOffsetBytesAndCharacters) {
    const unsigned char memory[] = "\x1f !\"#$%&'()*+,-~\x7f\xff";
    const KLTmemdump dump(memory, 18);
    print << pers << oct << width(9);
    for (const int bytes_per_line : {16, 0, 65}) {
        dump.dump(print, bytes_per_line);
        EXPECT_EQ(sink.take(), "00000000: 1f 20 21 22 23 24 25 26  27 28 29 2a 2b 2c 2d 7e"
                               "  . !\"#$%&'()*+,-~\n"
                               "00000010: 7f ff                                             ..\n");
    }
    KLTmemdump(nullptr, 5).dump(print);
    KLTmemdump(memory + 1, 4).dump(print, 2, 1);
    EXPECT_EQ(sink.take(), "00000000: 20  21   !\n00000002: 22  23  \"#\n");
}

TEST_F(TextIo, TextsPrintAsTheyAreReversedOrOneByOne) {
    KLTostrm(sink) << "abc" << static_cast<const char*>(nullptr) << KLTastr("def")
                   << KLTreverseOut("ghi\xe4") << KLTreverseOut("");
    KLTtextarray texts;
    texts.add("a");
    texts.add("bc");
    print << width(3, '.') << texts;
    EXPECT_EQ(sink.take(), "abcdef\xe4ihg..abc");
}

TEST(Fileout, WritesWhereItStands) {
    const ScratchFolder folder;
    const std::string path = folder.file("out");
    std::ofstream(path) << "an older and longer text";
    {
        KLTfileout file(path.c_str());
        EXPECT_EQ(file.ostring("abcdef\n") | file.oseek(1), 0);
        EXPECT_EQ(file.ochar(0x100 + 'B'), 1);
        EXPECT_EQ(file.oskip(2) | file.oblock("E\0", 2), 0);
        EXPECT_EQ(file.oskip(-7), EOF) << "before the start";
        EXPECT_EQ(file.osize(), 7) << "with what is buffered";
        EXPECT_EQ(file.opos(), 6);
        EXPECT_EQ(file.oskip(2), 0);
        EXPECT_EQ(file.ochar('!'), 1);
        file.oflush(true);
        EXPECT_EQ(std::filesystem::file_size(path), 9U);
        EXPECT_EQ(file.ochar('.'), 1);
    }
    std::string contents;
    std::getline(std::ifstream(path), contents, '.');
    EXPECT_EQ(contents, std::string("aBcdE\0\n\0!", 9));
    EXPECT_EQ(std::filesystem::file_size(path), 10U);
    KLTfileout none("/nowhere/at/all");
    EXPECT_THAT((std::vector{none.opos(), none.osize()}), Each(-6842));
    EXPECT_THAT((std::vector{none.ostring("x"), none.oseek(0), none.oskip(1)}), Each(-6842));
}

TEST(OutHandle, TranslatesLineEndsAndTellsWhatIsRefused) {
    char text[16];
    using Stream = std::unique_ptr<FILE, int (*)(FILE*)>;
    const Stream writer(fmemopen(text, sizeof text, "w"), fclose);
    const Stream reader(fmemopen(text, sizeof text, "r"), fclose);
    KLToutHandle handle(writer.get(), true);
    EXPECT_EQ(handle.ochar('\n'), 1);
    EXPECT_EQ(handle.ostring("a\nb") | handle.oblock("\0\n", 2), 0);
    KLTprint(handle) << '\n';
    EXPECT_EQ(handle.oflush(false), 0);
    EXPECT_EQ(std::string(text, 10), std::string("\r\na\r\nb\0\n\r\n", 10));
    for (const auto& [stream, code] : {std::pair{reader.get(), EOF}, {nullptr, -6842}})
        for (const bool translates : {false, true}) {
            KLToutHandle none(stream, translates);
            EXPECT_THAT((std::vector{none.ochar('\n'), none.oblock("x", 1)}), Each(code));
            EXPECT_EQ(none.ostring("x"), stream != nullptr && translates ? 0 : code);
            EXPECT_THAT((std::vector{none.ostring(nullptr), none.oblock("x", 0)}), Each(-6848));
            EXPECT_EQ(none.oblock(nullptr, 1), -6848);
            EXPECT_EQ(none.oflush(true), stream != nullptr ? 0 : code);
        }
}

// What compiles at all.
TEST(OutHandle, NullIsTheNullStreamAndASinkMayBeNoncopyableItself) {
    struct Sink : KLTout, private KLTnoncopyable {
        int ochar(int) override { return 1; }
        int ofull() override { return 0; }
    };
    EXPECT_EQ(Sink().oflush(true), 0);
    EXPECT_EQ(KLToutHandle(nullptr).oflush(true), -6842);
}

// Gives its bytes, then one code for ever.
struct ByteSource : KLTin {
    ByteSource(std::string data, int code) : bytes(std::move(data)), end(code) {}
    int ichar() override {
        return next < bytes.size() ? static_cast<unsigned char>(bytes[next++]) : end;
    }
    int icharns() override { return end; }
    int icharti(long long) override { return end; }
    int iempty() override { return next == bytes.size(); }

    std::string bytes;
    std::size_t next = 0;
    int end;
};

TEST(In, BlocksAndLinesEndWithTheDataOrAFailure) {
    const struct {
        std::string bytes;
        int end;
        int length;
        int block; // results
        int line;
    } cases[] = {
        {"abc\nd", -6849, 8, 5, 3}, {{"ab\0\xff", 4}, -6849, 4, 4, 2},
        {"abcdef", -6849, 4, 4, 3}, {"\xff", -6849, 2, 1, 1},
        {"", -6849, 8, 0, -6849},   {"ab", -77, 8, -77, 2},
        {"", -77, 8, -77, -77},     {"ab", -77, 1, 1, -6848},
        {"ab", -77, 0, 0, -6848},   {"ab", -77, -1, -6848, -6848},
    };
    for (const auto& c : cases) {
        std::string data(8, '-');
        EXPECT_EQ(ByteSource(c.bytes, c.end).iblock(data.data(), c.length), c.block);
        const std::string taken = c.bytes.substr(0, std::max(c.length, 0));
        EXPECT_EQ(data, taken + std::string(8 - taken.size(), '-'));
        EXPECT_EQ(ByteSource(c.bytes, c.end).istring(data.data(), c.length), c.line);
        if (c.line == -6848) continue;
        EXPECT_EQ(data.c_str(), c.bytes.substr(0, std::max(c.line, 0)));
    }
    ByteSource source("a", -6849);
    EXPECT_THAT((std::vector{source.iblock(nullptr, 1), source.istring(nullptr, 8)}), Each(-6848));
    EXPECT_EQ(source.ipeek(), -6849);
}

} // namespace
