#include "baselib/print/print.h"

#include "baselib/print/nstream.h"
#include "print_model.h"
#include "recording_sink.h"

#include <climits>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

std::vector<Integer> integers() {
    std::vector<Integer> all;
    for (const int size : {1, 2, 4, 8}) {
        const auto ones = ~0ULL >> (64 - size * 8);
        const auto top = static_cast<long long>(ones >> 1);
        for (const long long value : {0LL, 5LL, 99LL, top})
            for (const bool isSigned : {false, true})
                all.push_back({value, size, isSigned});
        for (const long long value : {-1LL, -42LL, -top - 1})
            all.push_back({value, size, true});
        all.push_back({static_cast<long long>(ones), size, false});
        all.push_back({static_cast<long long>(ones ^ 0x55), size, false});
    }
    return all;
}

class Print : public testing::Test {
protected:
    std::string taken() { return sink.take(); }

    RecordingSink sink;
    KLTprint print{sink};
};

// Checks one formatting for all integers and widths.
void compareIntegers(KLTprtFlags flags) {
    static const std::vector<Integer> all = integers();
    RecordingSink sink;
    KLTprint print(sink);
    for (const Integer& integer : all) {
        const std::string number = numberByPrintf(integer, flags);
        for (int width = -25; width <= 25; ++width) {
            flags.width = static_cast<int16_t>(width);
            print << flags;
            print.prtint(integer.value, integer.size, integer.isSigned);
            ASSERT_EQ(sink.take(), padded(number, width, flags.paddingchar))
                << integer.value << " size " << integer.size << " width " << width << " numwidth "
                << flags.numwidth << " base " << flags.base;
        }
    }
}

TEST_F(Print, IntegersAsByPrintf) {
    KLTprtFlags flags;
    for (const uint16_t base : {0, 2, 8, 10, 16})
        for (const char addNneg : {'\0', '+', ' '})
            for (const bool upper : {false, true})
                for (int numwidth = 0; numwidth <= 12; ++numwidth) {
                    flags.base = base;
                    flags.paddingchar = numwidth % 2 ? ' ' : '*';
                    flags.addNneg = addNneg;
                    flags.upper = upper;
                    flags.numwidth = static_cast<int16_t>(numwidth);
                    ASSERT_NO_FATAL_FAILURE(compareIntegers(flags));
                }
}

TEST_F(Print, EveryTypePrintsByItsOwnSize) {
    using KLNstream::hex;
    print << hex << -1 << ' ' << hex << -1L << ' ' << hex << -1LL << ' ' << INT_MIN << ' '
          << LONG_MIN << ' ' << LLONG_MIN << ' ' << UINT_MAX << ' ' << ULONG_MAX << ' '
          << ULLONG_MAX << ' ' << static_cast<unsigned char>('A') << 'A';
    EXPECT_EQ(taken(), formatted("%x %lx %llx %d %ld %lld %u %lu %llu 65A", -1, -1L, -1LL, INT_MIN,
                                 LONG_MIN, LLONG_MIN, UINT_MAX, ULONG_MAX, ULLONG_MAX));
}

// Sizes between the types' own: only in a base are values cut.
TEST_F(Print, OddSizesMask) {
    print.hexadec();
    print.prtint(-1, 3, true);
    print.prtint(-1, 3, false);
    print.prtint(-1, 3, true);
    EXPECT_EQ(taken(), "ffffff16777215-1");
    for (const int size : {-1, 0, 9})
        EXPECT_DEATH(print.prtint(1, size, true),
                     "KELlib-Error integer of no size in module print");
}

TEST_F(Print, PaddingBeyondAChunk) {
    for (const int width : {39, 40, 41, 80, 81, 500, -40, -41, -500}) {
        print.width(width);
        print << 7;
        EXPECT_EQ(taken(), formatted("%*d", width, 7));
    }
    print.numwidth(100);
    print << -7;
    EXPECT_EQ(taken(), formatted("%.*d", 99, -7));
}

TEST_F(Print, TextsOfAnyKindInFields) {
    for (int width = -25; width <= 25; ++width)
        for (const char* text : {"x", "front panel", "longer than any field here"}) {
            print << KLNstream::width(width, '_') << text;
            print << KLNstream::width(width, '_') << KLTastr(text);
            print << KLNstream::width(width, '_') << 'c';
            print << KLNstream::width(width, '_') << true << false;
            const std::string field = padded(text, width, '_');
            EXPECT_EQ(taken(),
                      field + field + padded("c", width, '_') + padded("1", width, '_') + "0");
        }
    const char* const none = nullptr;
    print << KLTastrc("view") << KLNstream::width(8, ' ') << none << none;
    EXPECT_EQ(taken(), "view  (null)(null)");
}

TEST_F(Print, PointersAreHexadecimalInAnyBase) {
    const void* pointer = reinterpret_cast<const void*>(uintptr_t{0xbf00a0});
    print << pointer << ' ' << KLNstream::Hex8 << pointer << ' ';
    print << KLNstream::pers << KLNstream::oct << pointer << ' ' << 8;
    print << KLNstream::norm << static_cast<const void*>(nullptr);
    EXPECT_EQ(taken(), "bf00a0 00BF00A0 bf00a0 100");
}

void compareDoubles(KLTprtFlags flags) {
    using Limits = std::numeric_limits<double>;
    RecordingSink sink;
    KLTprint print(sink);
    for (const double value :
         {0.0, -0.0, 0.5, 1.0, -1.5, 3.14159, 1234567.0, 1e-7, -6.02e23, Limits::max(),
          Limits::lowest(), Limits::denorm_min(), Limits::infinity(), -Limits::infinity()})
        for (const int width : {-360, -25, -9, -1, 0, 1, 8, 25, 360}) {
            flags.width = static_cast<int16_t>(width);
            print << flags << value;
            ASSERT_EQ(sink.take(), doubleByPrintf(value, flags))
                << value << " width " << width << " precision " << flags.dblPrecision;
        }
}

TEST_F(Print, DoublesAsByPrintf) {
    KLTprtFlags flags;
    flags.numwidth = 30; // plays no part
    for (const char format : {'e', 'E', 'f', 'F', 'g', 'G', 'a', 'A'})
        for (int precision = -2; precision <= 32; ++precision)
            for (const char addNneg : {'\0', '+', ' '}) {
                flags.dblFormat = format;
                flags.dblPrecision = precision;
                flags.dblPoint = precision % 2 ? ',' : '.';
                flags.addNneg = addNneg;
                flags.paddingchar = addNneg == 0 ? '#' : ' ';
                ASSERT_NO_FATAL_FAILURE(compareDoubles(flags));
            }
}

// A letter that is none of a double never reaches printf.
TEST_F(Print, DoublesAreGByDefaultAndByOtherLetters) {
    print << 0.5 << ' ' << 1234567.0;
    EXPECT_EQ(taken(), "0.5 1.23457e+06");
    for (const char letter : {'s', 'n', 'd', 'p', '%', '\0'}) {
        print.dblfmt(6, letter, '.');
        print << 0.25;
        EXPECT_EQ(taken(), "0.25");
    }
}

// Every kind of item behind one that was formatted prints by defaults again.
TEST_F(Print, FormattingIsGoneBehindAnItem) {
    const std::vector<std::pair<const char*, void (*)(KLTprint&)>> items = {
        {"integer", [](KLTprint& p) { p << 1; }},
        {"double", [](KLTprint& p) { p << 1.0; }},
        {"text", [](KLTprint& p) { p << "1"; }},
        {"string", [](KLTprint& p) { p << KLTastr("1"); }},
        {"character", [](KLTprint& p) { p << '1'; }},
        {"bool", [](KLTprint& p) { p << true; }},
        {"pointer", [](KLTprint& p) { p << reinterpret_cast<const void*>(1); }},
    };
    for (const auto& [name, item] : items) {
        print << KLNstream::width(3, '*') << KLNstream::hex;
        item(print);
        print << 10;
        EXPECT_EQ(taken(), "**110") << name;
        print << KLNstream::pers << KLNstream::width(3, '*') << KLNstream::hex;
        item(print);
        print << 10 << KLNstream::norm << 10;
        EXPECT_EQ(taken(), "**1**a10") << name;
    }
}

TEST_F(Print, EmptyTextLeavesFormattingToTheNextItem) {
    print << KLNstream::hex4 << "" << KLTastr() << 255 << ' ' << 255;
    EXPECT_EQ(taken(), "00ff 255");
    print << KLNstream::hex4 << KLNstream::width(2, '-') << "" << 255;
    EXPECT_EQ(taken(), "--255");
}

TEST_F(Print, EndOfPersistenceLeavesTheFlagsToTheNextItem) {
    print.persistent(true);
    print.width(9);
    print << 1;
    print.persistent(false);
    EXPECT_EQ(print.flags().width, 9);
    print.nextflags();
    EXPECT_EQ(print.flags().width, 0);
    print.uflags(0xF0F0);
    print.uflags(0x05, 0xFF);
    EXPECT_EQ(print.flags().uflags_, 0xF005U) << "changes within a mask";
}

TEST_F(Print, LineEndIsTheCallers) {
    print << KLNstream::cr;
    print.setCR("|");
    print << KLNstream::cr << KLNstream::crlf;
    print.setCR(nullptr);
    print.printCR();
    print.setCR("#");
    print.init();
    print.printCR();
    EXPECT_EQ(taken(), "\n|\r\n\n\n");
}

TEST_F(Print, OutputMoves) {
    RecordingSink other;
    print << "a";
    print.output(&other);
    print << "b";
    print.output(nullptr);
    print << "c";
    EXPECT_EQ(&print.output(), KLTout::null());
    EXPECT_EQ(taken(), "a");
    EXPECT_EQ(other.take(), "b");
    EXPECT_EQ(&KLTprint().output(), &devNull);
}

TEST(Sink, BaseOperationsWriteByCharacters) {
    RecordingSink sink;
    EXPECT_EQ(sink.oblock("a\0b", 3), 0);
    EXPECT_EQ(sink.ostring("xyz"), 0);
    EXPECT_EQ(sink.ostring(""), 0);
    EXPECT_EQ(sink.oblock(nullptr, 1), -6848);
    EXPECT_EQ(sink.oblock("a", 0), -6848);
    EXPECT_EQ(sink.oblock("a", -1), -6848);
    EXPECT_EQ(sink.ostring(nullptr), -6848);
    EXPECT_EQ(sink.take(), std::string("a\0bxyz", 6));
}

} // namespace
