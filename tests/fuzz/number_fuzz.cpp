// Any text as a number in any base, compared with the C library, and the way back.

#include "baselib/text/astr.h"
#include "baselib/text/number.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

namespace {

constexpr long long untouched = 4711;

void require(bool condition) {
    if (!condition) std::abort();
}

// What the C library takes too but is no part of such a number here: blanks in front,
// prefixes, hexadecimal and named doubles.
bool isPlain(const std::string& text, const char* allowed) {
    return text.find_first_not_of(allowed) == std::string::npos;
}

bool hasDigits(const std::string& text) {
    return text.find_first_not_of("+-") != std::string::npos;
}

// A character that numbers often have.
char common(char c) { return "0123456789019+-.eE"[static_cast<unsigned char>(c) % 18]; }

void compareInteger(const std::string& text, int base) {
    long long value = untouched;
    const int status = KLTastrc(text.c_str()).num(value, base);
    require(status == KLTnumberOk || value == untouched);
    if (status == KLTnumberOk) {
        KLTastr back;
        long long again = untouched;
        require(back.itos(value, ' ', 0, 0, base).num(again, base == 0 ? 10 : base) == 0);
        require(again == value);
    }
    if (base == 0) return;
    char* end = nullptr;
    errno = 0;
    const long long expected = std::strtoll(text.c_str(), &end, base);
    const bool isNumber = end != text.c_str() && *end == '\0' && isalnum(*std::prev(end)) &&
                          isPlain(text.substr(0, 1), "+-0123456789abcdefghijklmnopqrstuvwxyz"
                                                     "ABCDEFGHIJKLMNOPQRSTUVWXYZ");
    const bool hasPrefix = base == 16 && text.find_first_of("xX") != std::string::npos;
    if (!isNumber || hasPrefix)
        require(status == KLTnumberInvalid || status == KLTnumberEmpty);
    else
        require(errno == ERANGE ? status == KLTnumberRange : status == 0 && value == expected);
    require(status != KLTnumberEmpty || !hasDigits(text));
}

void compareDouble(const std::string& text) {
    double value = untouched;
    const int status = KLTastrc(text.c_str()).num(value);
    char* end = nullptr;
    const double expected = std::strtod(text.c_str(), &end);
    const bool isNumber = end != text.c_str() && *end == '\0' && isPlain(text, "+-.0123456789eE");
    require(isNumber == (status == KLTnumberOk || status == KLTnumberRange));
    if (status == KLTnumberOk)
        require(std::memcmp(&value, &expected, sizeof value) == 0);
    else
        require(value == untouched);
    if (status == KLTnumberRange) require(std::isinf(expected) || std::fabs(expected) < 1e-300);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const int base = *data % 37;
    std::string text(data + 1, data + size);
    if (*data >= 37 * 3) std::transform(text.begin(), text.end(), text.begin(), common);
    text = text.c_str(); // up to its NUL
    compareInteger(text, base == 1 ? 10 : base);
    compareDouble(text);
    return 0;
}
