#include "baselib/print/print.h"

#include "baselib/print/nstream.h"
#include "baselib/print/vecprt.h"
#include "print_model.h"

#include <array>
#include <bit>
#include <climits>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <utility>

// Counts what this thread takes from the heap: operator new ends in malloc too. Not where a
// sanitizer owns malloc.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

// Volatile: the compiler takes malloc for a function that changes no variable.
static thread_local volatile int requests = 0;

extern "C" void* __libc_malloc(size_t size);

extern "C" void* malloc(size_t size) noexcept {
    requests = requests + 1;
    return __libc_malloc(size);
}

TEST(NoHeap, PrintingTakesNothing) {
    using namespace KLNstream;
    const int words[] = {1, 2, 3};
    const int before = requests;
    KLTprint print(devNull);
    print << -1LL << bin << -1LL << width(500) << 7 << deca(200) << 7 << rep(1000, '-');
    print << 0.5 << dbl(30, 'f') << 1e300 << dblw(400, 9, 'e') << -1e-300 << width(-90) << "field";
    print << KLTastrc("view") << KLTvecPrt(words, 3, ",", ".", 4) << cr << crlf << crfld << norm;
    EXPECT_EQ(requests, before);
    const auto kept = std::make_unique<int>(1);
    EXPECT_EQ(requests, before + 1) << "what is taken is counted";
}

#endif

namespace {

using namespace KLNstream;

class Print : public testing::Test {
protected:
    RecordingSink sink;
    KLTprint print{sink};
};

TEST_F(Print, NumbersOfAnyFormattingAsByPrintf) {
    constexpr double edges[] = {0.0, -0.0, 0.5, -1.5, 1234567.0, INFINITY, -INFINITY, 1.7e308};
    std::mt19937_64 random(20190304);
    for (int i = 0; i < 100'000; ++i) {
        auto c = std::bit_cast<PrintCase>(std::array{random(), random(), random()});
        const auto bits = static_cast<int>(random() % 64);
        if (i % 3 == 1) c.integer >>= bits;
        if (i % 3 == 2) c.integer = static_cast<std::int64_t>((1ULL << bits) + random() % 5 - 2);
        if (i % 4 == 1) c.number = static_cast<double>(c.integer) / 1000;
        if (i % 4 == 2) c.number = edges[random() % std::size(edges)];
        ASSERT_EQ(printed(c), printed_by_printf(c));
    }
}

TEST_F(Print, EveryTypePrintsByItsOwnSize) {
    print << hex << -1 << ' ' << hex << -1L << ' ' << hex << -1LL << ' ' << INT_MIN << ' '
          << LONG_MIN << ' ' << LLONG_MIN << ' ' << UINT_MAX << ' ' << ULONG_MAX << ' '
          << ULLONG_MAX << ' ' << static_cast<unsigned char>('A') << 'A';
    EXPECT_EQ(sink.take(),
              formatted("%x %lx %llx %d %ld %lld %u %lu %llu 65A", -1, -1L, -1LL, INT_MIN, LONG_MIN,
                        LLONG_MIN, UINT_MAX, ULONG_MAX, ULLONG_MAX));
    for (const int size : {-1, 0, 9})
        EXPECT_EXIT(print.prtint(1, size, true), testing::KilledBySignal(SIGABRT),
                    "^KELlib-Error integer of no size in module print, line [0-9]+ "
                    "\\(1..8 bytes\\)\n$");
}

TEST_F(Print, ManipulatorsOfIntegers) {
    print << hex << 171 << ' ' << hex2 << 10 << ' ' << hex4 << 10 << ' ' << hex6 << 10 << ' '
          << hex8 << 10 << ' ' << hex12 << 10 << ' ' << hex16 << 10;
    EXPECT_EQ(sink.take(),
              formatted("%x %02x %04x %06x %08x %012x %016x", 171, 10, 10, 10, 10, 10, 10));
    print << Hex << 171 << ' ' << Hex2 << 10 << ' ' << Hex4 << 10 << ' ' << Hex6 << 10 << ' '
          << Hex8 << 10 << ' ' << Hex12 << 10 << ' ' << Hex16 << 10;
    EXPECT_EQ(sink.take(),
              formatted("%X %02X %04X %06X %08X %012X %016X", 171, 10, 10, 10, 10, 10, 10));
    print << oct << 8 << ' ' << octa(4) << 8 << ' ' << hexa(3) << 171 << ' ' << Hexa(3) << 171
          << ' ' << hex << dec << 10 << ' ' << deca(4) << -1 << ' ' << plus << 7 << ' ' << plus << 0
          << ' ' << plus << -7 << ' ' << pspc << 7;
    EXPECT_EQ(sink.take(), formatted("%o %04o %03x %03X %d %04d %+d %+d %+d % d", 8, 8, 171, 171,
                                     10, -1, 7, 0, -7, 7));
    print << bin << 5 << ' ' << bina(8) << 5 << ' ' << hex << rep(3, '=') << rep(-1, '?') << 255
          << width(3) << 7 << width(-99, '*') << 7;
    EXPECT_EQ(sink.take(), "101 00000101 ===ff  77" + std::string(98, '*'));
}

TEST_F(Print, ManipulatorsOfDoubles) {
    constexpr double pi = 3.14159;
    print << pi << ' ' << dbl(2, 'f', ',') << pi << ' ' << dbl(2) << pi << ' ' << dblw(8, 3, 'f')
          << pi << dblw(5, 1) << pi << ' ' << dbl(1, 'e', ',') << dblw(-5, 1, 'f') << 0.5;
    EXPECT_EQ(sink.take(), formatted("%g 3,14 %.2g %8.3f%5.1g %-5.1f", pi, pi, pi, pi, 0.5));
    // A letter that is none of a double never reaches printf.
    for (const char letter : {'s', 'n', 'd', 'p', '%', '\0'})
        print << dbl(6, letter) << 0.25;
    EXPECT_EQ(sink.take(), "0.250.250.250.250.250.25");
}

TEST_F(Print, LineEndsLocksAndFlushes) {
    print << cr;
    print.setCR("|");
    print << cr << crlf << crf << crd << crfld << lock << done << fl << flush;
    EXPECT_EQ(sink.take(), "\n|\r\n|F|>|F><>fF");
    print.setCR(nullptr);
    print << cr;
    print.setCR("#");
    print.init();
    print << cr;
    EXPECT_EQ(sink.take(), "\n\n");
}

TEST_F(Print, EveryKindOfItemHasItsFieldAndTakesTheFormattingWithIt) {
    const std::pair<const char*, void (*)(KLTprint&)> items[] = {
        {"1", [](KLTprint& p) { p << 1; }},
        {"a longer text", [](KLTprint& p) { p << "a longer text"; }},
        {"string", [](KLTprint& p) { p << KLTastr("string"); }},
        {"(null)", [](KLTprint& p) { p << static_cast<const char*>(nullptr); }},
        {"c", [](KLTprint& p) { p << 'c'; }},
        {"1", [](KLTprint& p) { p << true; }},
        {"0", [](KLTprint& p) { p << false; }},
        {"bf00a0", [](KLTprint& p) { p << reinterpret_cast<const void*>(0xbf00a0); }},
    };
    for (const auto& [text, item] : items)
        for (const int characters : {-25, -7, 0, 1, 2, 7, 25}) {
            print << width(characters, '*') << hex;
            item(print);
            print << 10 << pers << width(characters, '*') << oct;
            item(print);
            print << 10 << norm << 10;
            const std::string field = in_field(text, characters, '*');
            EXPECT_EQ(sink.take(), field + "10" + field + in_field("12", characters, '*') + "10");
        }
}

TEST_F(Print, FormattingStaysUntilAnItemTakesIt) {
    print << hex4 << "" << KLTastr() << 255 << ' ' << 255 << ' ' << hex4 << width(2, '-') << ""
          << 255 << ' ' << pers << width(3, '.') << 1;
    print.persistent(false);
    print << 2 << 3;
    EXPECT_EQ(sink.take(), "00ff 255 --255 ..1..23");
    print.uflags(0xF0F0);
    print.uflags(0x05, 0xFF);
    EXPECT_EQ(print.flags().uflags_, 0xF005U) << "changes within a mask";
}

TEST_F(Print, OutputMoves) {
    EXPECT_EQ(&KLTprint().output(), &devNull);
    RecordingSink other;
    print << "a";
    print.output(&other);
    print << "b";
    print.output(nullptr);
    print << "c";
    EXPECT_EQ(&print.output(), &devNull);
    EXPECT_EQ(sink.take() + other.take(), "ab");
}

TEST_F(Print, SinksWriteByCharactersAndRefuseNoData) {
    EXPECT_EQ(sink.oblock("a\0b", 3), 0);
    for (const char* text : {"xyz", ""})
        EXPECT_EQ(sink.ostring(text), 0);
    EXPECT_EQ(sink.ostring(nullptr), -6848);
    for (KLTout* out : {static_cast<KLTout*>(&sink), KLTout::null()}) {
        EXPECT_EQ(out->oblock(nullptr, 1), -6848);
        EXPECT_EQ(out->oblock("a", 0), -6848);
        EXPECT_EQ(out->oblock("a", 1), 0);
    }
    EXPECT_EQ(sink.take(), std::string("a\0bxyza", 7));
}

// As many as there are records of the modifier below hold it, and the test.
const auto live = std::make_shared<int>();

struct Count : KLTmodifierUserData {
    void reset() override { value = 0; }
    int value = 0;
    std::shared_ptr<int> alive = live;
};

// Prints how often it was printed to this print object; without a key keeps no record.
struct Counter : KLTmodifierUser {
    using KLTmodifierUser::KLTmodifierUser;
    KLTmodifierUserData* apply(KLTprint& print, KLTmodifierUserData* data) const override {
        if (data == nullptr && key() != nullptr) data = new Count;
        print << (data != nullptr ? ++static_cast<Count*>(data)->value : 0);
        return data;
    }
};

TEST_F(Print, UserModifiersKeepDataPerPrintObjectAndKey) {
    const char keys[3]{};
    const Counter a{&keys[0]};
    const Counter b{&keys[1]};
    const Counter c{&keys[2]};
    {
        KLTprint other(sink);
        print << a << a << b << Counter(&keys[0]) << Counter(nullptr) << Counter(nullptr);
        other << a;
        EXPECT_EQ(sink.take(), "1213001");
    }
    print << norm << a << b << pers << a;
    print.persistent(false);
    print << a << b << c;
    EXPECT_EQ(sink.take(), "112111") << "reset";
    print.delModifier(&keys[1]);
    print.delModifier(&keys[1]);
    EXPECT_EQ(live.use_count(), 3);
    EXPECT_EQ(print.findModifier(&keys[1]), nullptr);
    print << a << b << c;
    print.freemem();
    EXPECT_EQ(live.use_count(), 1);
    print << a;
    EXPECT_EQ(sink.take(), "2121");
    const std::unique_ptr<KLTmodifierUserData> forgotten(print.findModifier(&keys[0]));
    print.init();
    EXPECT_EQ(print.findModifier(&keys[0]), nullptr);
    EXPECT_EQ(live.use_count(), 2);
}

} // namespace
