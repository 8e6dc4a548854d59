#include "baselib/print/nstream.h"

#include "recording_sink.h"

#include <gtest/gtest.h>

namespace {

using namespace KLNstream;

struct Manipulator {
    const char* name;
    void (*use)(KLTprint&);
    const char* written;
};

// Each is followed by an item that formatting left over would change.
const Manipulator manipulators[] = {
    {"cr", [](KLTprint& p) { p << cr; }, "|"},
    {"crlf", [](KLTprint& p) { p << crlf; }, "\r\n"},
    {"crf", [](KLTprint& p) { p << crf; }, "|F"},
    {"crd", [](KLTprint& p) { p << crd; }, "|>"},
    {"crfld", [](KLTprint& p) { p << crfld; }, "|F>"},
    {"lock", [](KLTprint& p) { p << lock; }, "<"},
    {"done", [](KLTprint& p) { p << done; }, ">"},
    {"fl", [](KLTprint& p) { p << fl; }, "f"},
    {"flush", [](KLTprint& p) { p << flush; }, "F"},
    {"plus", [](KLTprint& p) { p << plus << 7; }, "+7"},
    {"plus_zero", [](KLTprint& p) { p << plus << 0; }, "+0"},
    {"plus_negative", [](KLTprint& p) { p << plus << -7; }, "-7"},
    {"plus_hexadecimal", [](KLTprint& p) { p << plus << hex << 7; }, "7"},
    {"pspc", [](KLTprint& p) { p << pspc << 7; }, " 7"},
    {"pers", [](KLTprint& p) { p << pers << hex << 10 << 11 << norm; }, "ab"},
    {"norm", [](KLTprint& p) { p << pers << hex << plus << norm << 10 << 11; }, "1011"},
    {"bin", [](KLTprint& p) { p << bin << 5 << bin << 0; }, "1010"},
    {"oct", [](KLTprint& p) { p << oct << 8; }, "10"},
    {"dec", [](KLTprint& p) { p << hex << dec << 10; }, "10"},
    {"hex", [](KLTprint& p) { p << hex << 171; }, "ab"},
    {"hex2", [](KLTprint& p) { p << hex2 << 10; }, "0a"},
    {"hex4", [](KLTprint& p) { p << hex4 << 10; }, "000a"},
    {"hex6", [](KLTprint& p) { p << hex6 << 10; }, "00000a"},
    {"hex8", [](KLTprint& p) { p << hex8 << 255; }, "000000ff"},
    {"hex12", [](KLTprint& p) { p << hex12 << 10; }, "00000000000a"},
    {"hex16", [](KLTprint& p) { p << hex16 << 10; }, "000000000000000a"},
    {"Hex", [](KLTprint& p) { p << Hex << 171; }, "AB"},
    {"Hex2", [](KLTprint& p) { p << Hex2 << 10; }, "0A"},
    {"Hex4", [](KLTprint& p) { p << Hex4 << 10; }, "000A"},
    {"Hex6", [](KLTprint& p) { p << Hex6 << 10; }, "00000A"},
    {"Hex8", [](KLTprint& p) { p << Hex8 << 255; }, "000000FF"},
    {"Hex12", [](KLTprint& p) { p << Hex12 << 10; }, "00000000000A"},
    {"Hex16", [](KLTprint& p) { p << Hex16 << 10; }, "000000000000000A"},
    {"width", [](KLTprint& p) { p << width(5, '*') << 42; }, "***42"},
    {"width_left", [](KLTprint& p) { p << width(-5, '*') << 42; }, "42***"},
    {"width_blank", [](KLTprint& p) { p << width(4) << "x"; }, "   x"},
    {"hexa", [](KLTprint& p) { p << hexa(3) << 171; }, "0ab"},
    {"Hexa", [](KLTprint& p) { p << Hexa(3) << 171; }, "0AB"},
    {"octa", [](KLTprint& p) { p << octa(4) << 8; }, "0010"},
    {"bina", [](KLTprint& p) { p << bina(8) << 5; }, "00000101"},
    {"deca", [](KLTprint& p) { p << deca(4) << -1; }, "-001"},
    {"rep", [](KLTprint& p) { p << hex << rep(3, '=') << rep(-1, '?') << 255; }, "===ff"},
    {"dbl", [](KLTprint& p) { p << dbl(2, 'f', ',') << 3.14159; }, "3,14"},
    {"dbl_default", [](KLTprint& p) { p << dbl(2) << 3.14159; }, "3.1"},
    {"dblw", [](KLTprint& p) { p << dblw(8, 3, 'f') << 3.14159; }, "   3.142"},
    {"dblw_point", [](KLTprint& p) { p << dbl(1, 'e', ',') << dblw(-5, 1, 'f') << 0.5; }, "0.5  "},
};

TEST(Manipulators, DoWhatTheirNamesSay) {
    for (const Manipulator& manipulator : manipulators) {
        TracingSink sink;
        KLTprint print(sink);
        print.setCR("|");
        manipulator.use(print);
        EXPECT_EQ(sink.take(), manipulator.written) << manipulator.name;
        print << 10 << ' ' << 0.5;
        EXPECT_EQ(sink.take(), "10 0.5") << "formatting left over by " << manipulator.name;
    }
}

} // namespace
