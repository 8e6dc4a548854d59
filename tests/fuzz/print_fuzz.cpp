// Prints any value with any formatting and compares with printf.

#include "../baselib/print_model.h"
#include "../baselib/recording_sink.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

struct Input {
    std::int64_t integer;
    double number;
    std::int8_t width;
    std::uint8_t numwidth;
    std::uint8_t size;
    std::uint8_t base;
    std::uint8_t sign;
    std::uint8_t letter;
    std::uint8_t precision;
    std::uint8_t padding;
};

KLTprtFlags flagsOf(const Input& input) {
    KLTprtFlags flags;
    flags.width = input.width;
    flags.numwidth = input.numwidth;
    flags.base = "\0\x02\x08\x10"[input.base % 4];
    flags.upper = (input.base & 4) != 0;
    flags.addNneg = "\0+ +"[input.sign & 3];
    flags.paddingchar = " *"[input.padding & 1];
    flags.dblFormat = "eEfFgGaA"[input.letter % 8];
    flags.dblPoint = ".,"[input.letter >> 7];
    flags.dblPrecision = input.precision;
    return flags;
}

void require(const std::string& printed, const std::string& expected) {
    if (printed == expected) return;
    std::fprintf(stderr, "printed  \"%s\"\nexpected \"%s\"\n", printed.c_str(), expected.c_str());
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input{};
    std::memcpy(&input, data, std::min(size, sizeof input));
    const KLTprtFlags flags = flagsOf(input);
    const Integer integer{input.integer, input.size % 8 + 1, (input.sign & 4) != 0};
    RecordingSink sink;
    KLTprint print(sink);
    print << flags;
    print.prtint(integer.value, integer.size, integer.isSigned);
    require(sink.take(), padded(numberByPrintf(integer, flags), flags.width, flags.paddingchar));
    print << flags << input.number;
    require(sink.take(), doubleByPrintf(input.number, flags));
    print << 10;
    require(sink.take(), "10");
    return 0;
}
