#include "baselib/print/print.h"

#include "baselib/fatal.h"
#include "baselib/text/textarray.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

constexpr int paddingChunk = 40;
constexpr int precisionMax = 30;
constexpr int binaryDigitsMax = 64;
constexpr const char* defaultLineEnd = "\n";

// Longest result: a sign, 309 digits, the point and 30 digits behind it.
constexpr int doubleBufferSize = 352;
thread_local char dblBuf[doubleBufferSize];

// Digits of `bits` bits each, from the highest down, without leading zeros but at least one.
// Returns their number.
template <int bits>
int digitsOf(uint64_t value, bool upper, char* buffer) {
    const char* const characters = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    const int significant = std::max(1, static_cast<int>(std::bit_width(value)));
    const int count = (significant + bits - 1) / bits;
    for (char* digit = buffer + count; digit != buffer; value >>= bits)
        *--digit = characters[value & ((1U << bits) - 1)];
    return count;
}

// Only letters that print a double may reach printf.
char doubleLetter(char format) {
    return format != '\0' && strchr("eEfFgGaA", format) != nullptr ? format : 'g';
}

// What printf would write to dblBuf, with its NUL; returns the length. The three letters that are
// printed nearly always need no format that is read at run time.
int formatDouble(double value, char letter, int precision) {
    if (std::isfinite(value) && (letter == 'f' || letter == 'e' || letter == 'g')) {
        const auto format = letter == 'f'   ? std::chars_format::fixed
                            : letter == 'e' ? std::chars_format::scientific
                                            : std::chars_format::general;
        char* const end =
            std::to_chars(dblBuf, dblBuf + doubleBufferSize, value, format, precision).ptr;
        *end = '\0';
        return static_cast<int>(end - dblBuf);
    }
    const char format[] = {'%', '.', '*', letter, '\0'};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    return snprintf(dblBuf, sizeof dblBuf, format, precision, value);
#pragma GCC diagnostic pop
}

} // namespace

KLTprint::~KLTprint() { freemem(); }

KLTprint& KLTprint::operator<<(const char* text) {
    if (text == nullptr) text = "(null)";
    if (flags_.width != 0) return *this << KLTastrc(text);
    if (*text == '\0') return *this;
    sink_->ostring(text); // not counted before
    nextflags();
    return *this;
}

KLTprint& KLTprint::operator<<(const KLTastrc& text) {
    if (text.length() == 0 && flags_.width == 0) return *this;
    const int padding = std::abs(flags_.width) - text.length();
    if (flags_.width > 0) pad(padding);
    if (text.length() > 0) sink_->ostring(text.text());
    if (flags_.width < 0) pad(padding);
    nextflags();
    return *this;
}

KLTprint& KLTprint::operator<<(char character) {
    const int padding = std::abs(flags_.width) - 1;
    if (flags_.width > 0) pad(padding);
    sink_->ochar(static_cast<unsigned char>(character)); // which translates a line end
    if (flags_.width < 0) pad(padding);
    nextflags();
    return *this;
}

KLTprint& KLTprint::operator<<(bool value) { return *this << (value ? '1' : '0'); }

KLTprint& KLTprint::operator<<(const void* pointer) {
    const uint16_t base = std::exchange(flags_.base, uint16_t{16});
    prtint(static_cast<long long>(reinterpret_cast<uintptr_t>(pointer)), sizeof pointer, false);
    if (flags_.persistent) flags_.base = base;
    return *this;
}

KLTprint& KLTprint::operator<<(const double& value) {
    const int precision = std::clamp(flags_.dblPrecision, 0, precisionMax);
    const int length = formatDouble(value, doubleLetter(flags_.dblFormat), precision);
    if (flags_.dblPoint != '.')
        if (char* point = strchr(dblBuf, '.')) *point = static_cast<char>(flags_.dblPoint);
    const bool negative = std::signbit(value); // also of -0
    const char sign = negative ? '\0' : flags_.addNneg;
    const int padding = std::abs(flags_.width) - length - (sign != 0 ? 1 : 0);
    if (flags_.width > 0) pad(padding);
    if (sign != 0) sink_->ochar(sign);
    sink_->ostring(dblBuf);
    if (flags_.width < 0) pad(padding);
    nextflags();
    return *this;
}

KLTprint& KLTprint::operator<<(const KLTmodifier& modifier) {
    modifier.action(*this);
    return *this;
}

KLTprint& KLTprint::operator<<(const KLTprtFlags& flags) {
    flags_ = flags;
    return *this;
}

KLTprint& KLTprint::operator<<(const KLTtextarray& texts) {
    for (int i = 0; i < texts.count(); ++i)
        *this << texts[i];
    return *this;
}

KLTprint& KLTprint::prtint(long long value, int size, bool isSigned) {
    if (size < 1 || size > 8) KLFfatal("integer of no size", __LINE__, "print", "1..8 bytes");
    const auto bits = [value, size] { return KLFlowBytes(static_cast<uint64_t>(value), size); };
    switch (flags_.base) {
    case 16:
        number(0, digits_, digitsOf<4>(bits(), flags_.upper, digits_));
        break;
    case 8:
        number(0, digits_, digitsOf<3>(bits(), false, digits_));
        break;
    case 2:
        prtbinary(bits());
        break;
    default:
        prtdecimal(value, size, isSigned);
    }
    nextflags();
    return *this;
}

void KLTprint::dblfmt(int precision, char format, int point) {
    flags_.dblPrecision = precision;
    flags_.dblFormat = format;
    flags_.dblPoint = point;
}

void KLTprint::persistent(bool on) {
    flags_.persistent = on;
    if (!on) resetModifiers();
}

void KLTprint::nextflags() {
    if (!flags_.persistent) flags_ = {};
}

void KLTprint::normal() {
    flags_ = {};
    resetModifiers();
}

void KLTprint::repeat(int n, int character) {
    if (n < 1) return;
    char chunk[paddingChunk];
    memset(chunk, character, static_cast<size_t>(std::min(n, paddingChunk)));
    for (int left = n; left > 0; left -= paddingChunk)
        sink_->oblock(chunk, std::min(left, paddingChunk));
}

void KLTprint::setCR(const char* lineEnd) {
    lineEnd_ = lineEnd != nullptr ? lineEnd : defaultLineEnd;
}

void KLTprint::init() {
    modifiers_ = nullptr;
    lineEnd_ = defaultLineEnd;
}

KLTmodifierUserData* KLTprint::findModifier(const void* key) const {
    KLTmodifierUserData* data = modifiers_;
    while (data != nullptr && data->key_ != key)
        data = data->next_;
    return data;
}

void KLTprint::addModifier(const void* key, KLTmodifierUserData* data) {
    data->key_ = key;
    data->next_ = std::exchange(modifiers_, data);
}

void KLTprint::delModifier(const void* key) {
    for (KLTmodifierUserData** link = &modifiers_; *link != nullptr; link = &(*link)->next_) {
        if ((*link)->key_ != key) continue;
        delete std::exchange(*link, (*link)->next_);
        return;
    }
}

void KLTprint::freemem() {
    while (modifiers_ != nullptr)
        delete std::exchange(modifiers_, modifiers_->next_);
}

void KLTprint::pad(int count) { repeat(count, flags_.paddingchar); }

// Characters in the field that width asks for.
void KLTprint::field(const char* characters, int length) {
    const int padding = std::abs(flags_.width) - length;
    if (flags_.width > 0) pad(padding);
    sink_->oblock(characters, length);
    if (flags_.width < 0) pad(padding);
}

// A number in its field: the sign (0 for none) counts for numwidth where that is larger
// than the digits need, and for the width otherwise.
void KLTprint::number(char sign, const char* digits, int count) {
    if (flags_.width == 0 && flags_.numwidth == 0) { // as most numbers: no field
        if (sign != 0) sink_->ochar(sign);
        sink_->oblock(digits, count);
        return;
    }
    const bool filled = flags_.numwidth > count;
    const int signLength = sign != 0 ? 1 : 0;
    const int padding =
        std::abs(flags_.width) - std::max<int>(flags_.numwidth, count) - (filled ? 0 : signLength);
    if (flags_.width > 0) pad(padding);
    if (sign != 0) sink_->ochar(sign);
    repeat(flags_.numwidth - count - signLength, '0');
    sink_->oblock(digits, count);
    if (flags_.width < 0) pad(padding);
}

void KLTprint::prtdecimal(long long value, int size, bool isSigned) {
    bool negative = false;
    int count = 0;
    KLFconvert(value, digits_, isSigned ? 0 : size, &negative, &count);
    number(negative ? '-' : flags_.addNneg, digits_, count);
}

// Up to 64 digits, more than the buffer holds.
void KLTprint::prtbinary(uint64_t value) {
    char digits[binaryDigitsMax];
    number(0, digits, digitsOf<1>(value, false, digits));
}

void KLTprint::resetModifiers() {
    for (KLTmodifierUserData* data = modifiers_; data != nullptr; data = data->next_)
        data->reset();
}
