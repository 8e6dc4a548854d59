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
    const struct {
        const KLTmodifier& manipulator;
        const char* format;
    } cases[] = {
        {hex, "%x"},       {hex2, "%02x"},   {hex4, "%04x"},    {hex6, "%06x"},   {hex8, "%08x"},
        {hex12, "%012x"},  {hex16, "%016x"}, {hexa(3), "%03x"}, {Hex, "%X"},      {Hex2, "%02X"},
        {Hex4, "%04X"},    {Hex6, "%06X"},   {Hex8, "%08X"},    {Hex12, "%012X"}, {Hex16, "%016X"},
        {Hexa(3), "%03X"}, {bin, "%b"},      {bina(8), "%08b"}, {oct, "%o"},      {octa(4), "%04o"},
        {deca(4), "%04d"}, {plus, "%+d"},    {pspc, "% d"},
    };
    for (const auto& c : cases)
        for (const int value : {0, 10, -7}) {
            print << c.manipulator << value;
            EXPECT_EQ(sink.take(), formatted(c.format, value));
        }
    print << hex << dec << 10 << rep(3, '=') << rep(-1, '?') << width(3) << 7 << width(-99, '*')
          << 7;
    EXPECT_EQ(sink.take(), "10===  77" + std::string(98, '*'));
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
    print.setCR("|");
    print << cr << crlf << crf << crd << crfld << lock << done << fl << flush;
    print.setCR(nullptr);
    print << cr;
    print.setCR("#");
    print.init();
    print << cr;
    EXPECT_EQ(sink.take(), "|\r\n|F|>|F><>fF\n\n");
}

TEST_F(Print, EveryKindOfItemHasItsFieldAndTakesTheFormattingWithIt) {
    const auto expect = [&](const std::string& text, auto item) {
        for (const int characters : {-25, -7, 0, 1, 2, 7, 25}) {
            print << width(characters, '*') << hex << item << 10 << pers;
            print << width(characters, '*') << oct << item << 10 << norm << 10;
            const std::string field = in_field(text, characters, '*');
            EXPECT_EQ(sink.take(), field + "10" + field + in_field("12", characters, '*') + "10");
        }
    };
    expect("1", 1);
    expect("string", KLTastr("string"));
    expect("(null)", static_cast<const char*>(nullptr));
    expect("c", 'c');
    expect("1", true);
    expect("0", false);
    expect("bf00a0", reinterpret_cast<const void*>(0xbf00a0));
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

TEST_F(Print, SinksChangeWriteByCharactersAndRefuseNoData) {
    print.output(nullptr);
    EXPECT_EQ(&print.output(), &devNull);
    print.output(&sink);
    print << "xyz";
    EXPECT_EQ(sink.ostring(nullptr), -6848);
    for (KLTout* out : {&print.output(), &KLTprint().output()}) {
        EXPECT_EQ(out->oblock(nullptr, 1), -6848);
        EXPECT_EQ(out->oblock("a", 0), -6848);
        EXPECT_EQ(out->oblock("a\0b", 3), 0);
    }
    EXPECT_EQ(sink.take(), std::string("xyza\0b", 6));
}

struct Count : KLTmodifierUserData {
    void reset() override { value = 0; }
    int value = 0;
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
    const char keys[2]{};
    const Counter a{&keys[0]};
    const Counter b{&keys[1]};
    print << a << a << b << Counter(&keys[0]) << Counter(nullptr);
    KLTprint(sink) << a;
    print << norm << a << b << pers << a;
    print.persistent(false);
    print << b << a;
    EXPECT_EQ(sink.take(), "12130111211");
    print.delModifier(&keys[0]);
    print << a << b;
    print.freemem();
    print << a;
    EXPECT_EQ(sink.take(), "121");
    const std::unique_ptr<KLTmodifierUserData> forgotten(print.findModifier(&keys[0]));
    print.init();
    EXPECT_EQ(print.findModifier(&keys[0]), nullptr);
}

} // namespace
