#include "baselib/params.h"

#include "baselib/text/astr.h"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>

namespace {

// Marks of the arguments.
constexpr uint8_t notTaken = 0;
constexpr uint8_t takenByKeyword = 1;
constexpr uint8_t takenAsValue = 2;

constexpr int noArgument = 0;
constexpr int unmatchedMax = UINT8_MAX;

bool isSeparator(char c) { return c >= 1 && c <= 32; }

bool isKeywordCharacter(char c) { return static_cast<unsigned char>(c) > 32 && c != '%'; }

template <class Number>
using Converter = Number (*)(const char*, char**, int);

// The number that a whole text is, its base told by its prefix; false when it is none.
template <class Number>
bool readNumber(const char* text, Number& value, Converter<Number> convert) {
    char* end = nullptr;
    const Number converted = convert(text, &end, 0);
    if (end == text || *end != '\0') return false;
    value = converted;
    return true;
}

bool readText(const char* text, KLTastr& value) {
    value = text;
    return true;
}

} // namespace

// A va_list that can be handed on by reference on every platform.
struct KLTparams::Targets {
    va_list list;

    template <class Target>
    Target& next() {
        // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): started by the caller
        return *va_arg(list, Target*);
    }
};

KLTparams::KLTparams(int argc, const char** argv, bool caseSensitive)
    : argc_(argc), argv_(argv), caseSensitive_(caseSensitive),
      used_(static_cast<std::size_t>(std::max(argc, 0)), notTaken) {}

int KLTparams::parse(const char* format, ...) {
    Targets targets;
    va_start(targets.list, format);
    const int status = parseAll(format, targets);
    va_end(targets.list);
    return status;
}

int KLTparams::operator()(const char* format, ...) {
    Targets targets;
    va_start(targets.list, format);
    const int status = parseAll(format, targets);
    va_end(targets.list);
    return status;
}

int KLTparams::used(int index) const {
    return index >= 0 && index < argc_ ? used_[static_cast<std::size_t>(index)] : 0;
}

int KLTparams::parseAll(const char* format, Targets& targets) {
    if (argc_ < 0 || !format || !argv_) return KLTparamsMissing;
    if (std::find(argv_, argv_ + argc_, nullptr) != argv_ + argc_) return KLTparamsNullArgument;
    while (*format) {
        if (const int status = parseOne(format, targets)) return status;
        while (isSeparator(*format))
            ++format;
    }
    return KLTparamsOk;
}

// Works off the directive that format points to, and moves format behind it.
int KLTparams::parseOne(const char*& format, Targets& targets) {
    if (*format == '%') return KLTparamsNoKeyword;
    const char* const keyword = format;
    while (isKeywordCharacter(*format))
        ++format;
    if (*format != '%') return KLTparamsBadKeyword;
    const int length = static_cast<int>(format - keyword);
    ++format;
    const bool wantsMatch = *format == '%';
    if (wantsMatch) ++format;

    int index = noArgument;
    if (const int status = match(KLTastr().assign(keyword, 0, length), index)) return status;
    if (const int status = convert(*format, index, targets)) return status;
    ++format;
    if (wantsMatch) targets.next<bool>() = index != noArgument;
    return KLTparamsOk;
}

// Takes the argument that begins with keyword: its index, or noArgument.
int KLTparams::match(const KLTastrc& keyword, int& index) {
    index = find(keyword);
    if (index == noArgument) {
        if (argc_ > 0 && used_[0] < unmatchedMax) ++used_[0];
        return KLTparamsOk;
    }
    uint8_t& mark = used_[static_cast<std::size_t>(index)];
    if (mark != notTaken) return KLTparamsUsed;
    mark = takenByKeyword;
    return KLTparamsOk;
}

int KLTparams::find(const KLTastrc& keyword) const {
    for (int index = 1; index < argc_; ++index)
        if (KLTastrc(argv_[index]).matchLeft(keyword, caseSensitive_)) return index;
    return noArgument;
}

int KLTparams::convert(char letter, int& index, Targets& targets) {
    switch (letter) {
    case 'P':
        targets.next<bool>() = index == noArgument;
        return KLTparamsOk;
    case 'p':
        targets.next<bool>() = index != noArgument;
        return KLTparamsOk;
    case 'l':
        return takeValue(index, [&target = targets.next<long>()](const char* text) {
            return readNumber(text, target, std::strtol);
        });
    case 'L':
        return takeValue(index, [&target = targets.next<long long>()](const char* text) {
            return readNumber(text, target, std::strtoll);
        });
    case 's':
        return takeValue(index, [&target = targets.next<KLTastr>()](const char* text) {
            return readText(text, target);
        });
    default:
        return KLTparamsBadLetter;
    }
}

// Hands the argument behind a keyword to read; when that refuses it, the keyword counts as
// not matched and the argument stays free.
template <class Read>
int KLTparams::takeValue(int& index, Read read) {
    if (index == noArgument) return KLTparamsOk;
    const int value = index + 1;
    if (value >= argc_) return KLTparamsNoValue;
    uint8_t& mark = used_[static_cast<std::size_t>(value)];
    if (mark != notTaken) return KLTparamsUsed;
    if (read(argv_[value]))
        mark = takenAsValue;
    else
        index = noArgument;
    return KLTparamsOk;
}
