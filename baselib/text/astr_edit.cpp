// KLTastr: changes, all of them made by splice, fill and changeEach.

#include "baselib/text/astr.h"

#include "baselib/text/astr_node.h"
#include "baselib/text/latin1.h"
#include "baselib/text/number.h"

#include <algorithm>

// Replaces every character by change(character), which must not give NUL.
template <class Change>
KLTastr& KLTastr::changeEach(Change change) {
    if (length_ == 0) return *this;
    char* const first = cleanCopy(length_).node_->text();
    std::transform(first, first + length_, first,
                   [change](char c) { return static_cast<char>(change(c)); });
    return *this;
}

KLTastr& KLTastr::append(const KLTastrc& source) {
    return splice(length_, 0, source.text(), source.length());
}

KLTastr& KLTastr::append(const char* source, int n) {
    return source ? splice(length_, 0, source, n) : *this;
}

KLTastr& KLTastr::append(int c, int count) { return fill(length_, c, count); }

KLTastr& KLTastr::insert2(int pos, int c, int count) {
    return fill(std::clamp(pos, 0, length_), c, count);
}

KLTastr& KLTastr::replace(int pos, int n, const KLTastrc& source) {
    pos = std::clamp(pos, 0, length_);
    return splice(pos, std::clamp(n, 0, length_ - pos), source.text(), source.length());
}

KLTastr& KLTastr::replace(int c1, int c2) {
    const char set[] = {static_cast<char>(c1), '\0'};
    replaceAll(set, c2);
    return *this;
}

int KLTastr::replaceFirst(const KLTastrc& from, const KLTastrc& to, bool caseSensitive, int start) {
    if (from.length() == 0) return -1;
    const int pos = findStr(from, caseSensitive, start);
    if (pos >= 0) replace(pos, from.length(), to);
    return pos;
}

int KLTastr::replaceAll(const KLTastrc& from, const KLTastrc& to) {
    if (from.length() == 0) return 0;
    int count = 0;
    int start = 0;
    KLTastr result;
    for (int pos = findStr(from); pos >= 0; pos = findStr(from, true, start)) {
        result.append(text_ + start, pos - start).append(to);
        start = pos + from.length();
        ++count;
    }
    if (count > 0) *this = result.append(text_ + start, length_ - start);
    return count;
}

int KLTastr::replaceAll(const KLTastrc& set, int c) {
    if ((c & 0xFF) == 0) return deleteAll(set);
    // A copy, as set may be a part of the text that changes.
    const KLTastr searched(set);
    int count = 0;
    for (int pos = findChr(searched); pos >= 0; pos = findChr(searched, pos + 1)) {
        cleanCopy(length_).node_->text()[pos] = static_cast<char>(c);
        ++count;
    }
    return count;
}

KLTastr& KLTastr::delN(int pos, int n) { return replace(pos, n, KLTastrc()); }

KLTastr& KLTastr::delRange(int from, int to) {
    from = std::max(from, 0);
    return delN(from, std::max(from, to) - from);
}

KLTastr& KLTastr::dellast(int n) {
    const int count = std::clamp(n, 0, length_);
    return delN(length_ - count, count);
}

KLTastr& KLTastr::toUpper() { return changeEach(KLNlatin1::upper); }

KLTastr& KLTastr::toLower() { return changeEach(KLNlatin1::lower); }

KLTastr& KLTastr::reverse() {
    if (length_ == 0) return *this;
    char* const first = cleanCopy(length_).node_->text();
    std::reverse(first, first + length_);
    return *this;
}

KLTastr& KLTastr::itos(long long value, char pad, int width, char sign, int base) {
    const auto bits = static_cast<uint64_t>(value);
    char buffer[KLNnumber::textSize];
    const KLTastrc digits = KLNnumber::digits(value < 0 ? 0 - bits : bits, base, buffer);
    const char shownSign = value < 0 ? '-' : sign;
    const int missing = std::max(width, 0) - digits.length() - (shownSign ? 1 : 0);
    KLTastr shown; // so that this one stays as it was when there is no memory
    if (pad != '0') shown.append(pad, missing);
    shown.append(shownSign);
    if (pad == '0') shown.append(pad, missing);
    shown.append(digits);
    return *this = std::move(shown);
}

KLTastr& KLTastr::itosb(long long value, int base, int width) {
    return itos(value, '0', width, 0, base);
}

int KLTastr::deleteAll(const KLTastrc& set) {
    KLTastr kept;
    for (int pos = findChrOther(set); pos >= 0;) {
        const int end = findChr(set, pos);
        const int count = (end < 0 ? length_ : end) - pos;
        kept.append(text_ + pos, count);
        pos = findChrOther(set, pos + count);
    }
    const int deleted = length_ - kept.length();
    if (deleted > 0) *this = kept;
    return deleted;
}
