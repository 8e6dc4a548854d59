// KLTastrc: parts of a text and texts made from it.

#include "baselib/text/astr.h"
#include "baselib/text/latin1.h"

#include <algorithm>

KLTastr KLTastrc::substr(int pos, int n) const {
    const int start = std::clamp(pos, 0, length_);
    KLTastr result;
    result.append(text_ + start, std::min(n, length_ - start));
    return result;
}

KLTastr KLTastrc::substrN(int pos, int n) const {
    KLTastr result = substr(pos, n);
    result.append(' ', n - result.length());
    return result;
}

KLTastr KLTastrc::left(int n) const { return substr(0, n); }

KLTastr KLTastrc::right(int n) const { return substr(length_ - std::clamp(n, 0, length_)); }

KLTastr KLTastrc::getUpTo(const KLTastrc& delimiters, int start) const {
    start = std::clamp(start, 0, length_);
    const int end = findChr(delimiters, start);
    return substr(start, (end < 0 ? length_ : end) - start);
}

KLTastr KLTastrc::trimmed(const KLTastrc& set) const {
    const int first = findChrOther(set);
    return first < 0 ? KLTastr() : substr(first, findChrOtherRev(set) - first + 1);
}

KLTastr KLTastrc::unbreak(const KLTastrc& set) const {
    KLTastr result;
    for (int pos = findChrOther(set); pos >= 0;) {
        const int end = findChr(set, pos);
        const int count = (end < 0 ? length_ : end) - pos;
        if (result.length() > 0) result.append(' ');
        result.append(text_ + pos, count);
        pos = findChrOther(set, pos + count);
    }
    return result;
}

KLTastr KLTastrc::toUTF8() const {
    KLTastr result;
    for (const char* c = text_; c != text_ + length_; ++c) {
        const auto code = static_cast<unsigned char>(*c);
        if (code >= 0x80) result.append(0xC0 | code >> 6);
        result.append(code >= 0x80 ? 0x80 | (code & 0x3F) : code);
    }
    return result;
}

KLTastr KLTastrc::noUmlauts() const {
    KLTastr result;
    for (const char* c = text_; c != text_ + length_; ++c) {
        if (const char* letters = KLNlatin1::asciiLetters(*c))
            result.append(letters);
        else
            result.append(*c);
    }
    return result;
}
