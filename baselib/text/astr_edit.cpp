// KLTastr: changes, all of them made by splice, fill and changeEach.

#include "baselib/text/astr.h"

#include "baselib/text/astr_node.h"
#include "baselib/text/character_set.h"
#include "baselib/text/latin1.h"
#include "baselib/text/number.h"

#include <algorithm>
#include <utility>

// Replaces every character by change(character), which must not give NUL.
template <class Change>
KLTastr& KLTastr::changeEach(Change change) {
    if (length_ == 0) return *this;
    char* const first = cleanCopy(length_).node_->text();
    std::transform(first, first + length_, first,
                   [change](char c) { return static_cast<char>(change(c)); });
    return *this;
}

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
    int pos = from.length() > 0 ? findStr(from) : -1;
    if (pos < 0) return 0;
    const int length = to.trueLen();
    int count = 0;
    int start = 0;
    KLTastr result;
    for (; pos >= 0; pos = findStr(from, true, start)) {
        result.put(text_ + start, pos - start);
        result.put(to.text(), length);
        start = pos + from.length();
        ++count;
    }
    result.put(text_ + start, length_ - start);
    *this = std::move(result);
    return count;
}

int KLTastr::replaceAll(const KLTastrc& set, int c) {
    if ((c & 0xFF) == 0) return deleteAll(set);
    const int first = findChr(set);
    if (first < 0) return 0;
    const KLTcharacterSet replaced(set);
    char* const text = cleanCopy(length_).node_->text();
    int count = 0;
    for (int pos = first; pos < length_; ++pos)
        if (replaced.contains(text[pos])) {
            text[pos] = static_cast<char>(c);
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
    const int digits = KLNnumber::digits(value < 0 ? 0 - bits : bits, base, buffer);
    const char shownSign = value < 0 ? '-' : sign;
    const int signLength = shownSign ? 1 : 0;
    const int missing = pad ? std::max(width - signLength - digits, 0) : 0;
    const int blanks = pad == '0' ? 0 : missing;
    char* next = open(0, length_, missing + signLength + digits);
    next = std::fill_n(next, blanks, pad);
    if (shownSign) *next++ = shownSign;
    next = std::fill_n(next, missing - blanks, pad);
    std::copy_n(buffer, digits, next);
    return *this;
}

KLTastr& KLTastr::itosb(long long value, int base, int width) {
    return itos(value, '0', width, 0, base);
}

int KLTastr::deleteAll(const KLTastrc& set) {
    const int first = findChr(set);
    if (first < 0) return 0;
    const KLTcharacterSet unwanted(set);
    char* const text = cleanCopy(length_).node_->text();
    char* const end = text + length_;
    char* const kept =
        std::remove_if(text + first, end, [&unwanted](char c) { return unwanted.contains(c); });
    const auto deleted = static_cast<int>(end - kept);
    dellast(deleted);
    return deleted;
}
