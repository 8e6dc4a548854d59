// Prints any value with any formatting and compares with printf.

#include "baselib/print.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

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
    bool isSigned() const { return (sign & 4) != 0; }
    char addNneg() const { return "\0+ +"[sign & 3]; }
    int bytes() const { return size % 8 + 1; }
};

class TextSink : public KLTout {
public:
    int ochar(int c) override {
        text += static_cast<char>(c);
        return 1;
    }
    int ofull() override { return 0; }
    std::string text;
};

template <class Value>
std::string formatted(const char* format, int precision, Value value) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, precision, value);
    return buffer;
}

std::string padded(std::string text, int width) {
    const auto wanted = static_cast<std::size_t>(std::abs(width));
    const std::size_t missing = wanted > text.size() ? wanted - text.size() : 0;
    return text.insert(width < 0 ? text.size() : 0, missing, ' ');
}

void require(const std::string& printed, const std::string& expected) {
    if (printed == expected) return;
    std::fprintf(stderr, "printed  \"%s\"\nexpected \"%s\"\n", printed.c_str(), expected.c_str());
    std::abort();
}

std::string decimal(const Input& input, std::uint64_t bits) {
    const bool isNegative = input.isSigned() && input.integer < 0;
    const char sign = isNegative ? '-' : input.addNneg();
    const auto magnitude = input.isSigned() ? static_cast<std::uint64_t>(input.integer) : bits;
    const int digits = std::max(input.numwidth - (sign != 0 ? 1 : 0), 1);
    const std::string text =
        formatted<unsigned long long>("%.*llu", digits, isNegative ? 0 - magnitude : magnitude);
    return sign != 0 ? sign + text : text;
}

void compareInteger(KLTprint& print, TextSink& sink, const Input& input) {
    const std::uint64_t bits =
        static_cast<std::uint64_t>(input.integer) & (~std::uint64_t{0} >> (64 - input.bytes() * 8));
    const int digits = std::max<int>(input.numwidth, 1);
    std::string expected;
    switch (input.base % 4) {
    case 0:
        expected = decimal(input, bits);
        break;
    case 1:
        print.octal();
        expected = formatted<unsigned long long>("%.*llo", digits, bits);
        break;
    case 2:
        print.hexadec();
        expected = formatted<unsigned long long>("%.*llx", digits, bits);
        break;
    default:
        print.hexadec();
        print.uprise();
        expected = formatted<unsigned long long>("%.*llX", digits, bits);
    }
    print.width(input.width);
    print.numwidth(input.numwidth);
    print.addNneg(input.addNneg());
    print.prtint(input.integer, input.bytes(), input.isSigned());
    require(std::exchange(sink.text, {}), padded(expected, input.width));
}

void compareNumber(KLTprint& print, TextSink& sink, const Input& input) {
    const char letter = "eEfFgGaA"[input.letter % 8];
    const char format[] = {'%', '.', '*', letter, '\0'};
    std::string expected = formatted(format, std::min<int>(input.precision, 30), input.number);
    if (input.addNneg() != 0 && !std::signbit(input.number)) expected.insert(0, 1, input.addNneg());
    print.width(input.width);
    print.addNneg(input.addNneg());
    print.dblfmt(input.precision, letter, '.');
    print << input.number;
    require(std::exchange(sink.text, {}), padded(expected, input.width));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input{};
    std::memcpy(&input, data, std::min(size, sizeof input));
    TextSink sink;
    KLTprint print(sink);
    compareInteger(print, sink, input);
    compareNumber(print, sink, input);
    print << 10;
    require(sink.text, "10");
    return 0;
}
