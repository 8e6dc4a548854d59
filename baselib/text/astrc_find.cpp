// KLTastrc: searches.

#include "baselib/text/astrc.h"

#include "baselib/text/collation.h"
#include "baselib/text/latin1.h"

#include <algorithm>
#include <cstring>

namespace {

bool equal(const char* a, const char* b, int count, bool caseSensitive) {
    const auto size = static_cast<std::size_t>(count);
    if (caseSensitive) return std::memcmp(a, b, size) == 0;
    return std::equal(a, a + count, b, [](char left, char right) {
        return KLNcollation::fold(left) == KLNcollation::fold(right);
    });
}

bool isWordCharacter(int c) {
    return c == '_' || (KLNlatin1::info(c) & (KLNlatin1::letter | KLNlatin1::digit)) != 0;
}

bool isIn(const KLTastrc& set, char c) {
    return std::memchr(set.text(), c, static_cast<std::size_t>(set.length())) != nullptr;
}

// The first character at or behind start that is (not) in set.
int findForward(const KLTastrc& text, const KLTastrc& set, int start, bool wanted) {
    for (int pos = std::max(start, 0); pos < text.length(); ++pos)
        if (isIn(set, text.text()[pos]) == wanted) return pos;
    return -1;
}

// The last character at or before start that is (not) in set.
int findBackward(const KLTastrc& text, const KLTastrc& set, int start, bool wanted) {
    int pos = std::min(start, text.length() - 1);
    while (pos >= 0 && isIn(set, text.text()[pos]) != wanted)
        --pos;
    return std::max(pos, -1);
}

} // namespace

int KLTastrc::findStr(const KLTastrc& other, bool caseSensitive, int start) const {
    const int last = length_ - other.length_;
    for (int pos = std::max(start, 0); pos <= last; ++pos)
        if (equal(text_ + pos, other.text_, other.length_, caseSensitive)) return pos;
    return -1;
}

int KLTastrc::findRev(const KLTastrc& other, bool caseSensitive, int start) const {
    for (int pos = std::min(start, length_ - other.length_); pos >= 0; --pos)
        if (equal(text_ + pos, other.text_, other.length_, caseSensitive)) return pos;
    return -1;
}

int KLTastrc::findWord(const KLTastrc& other, bool caseSensitive, int start) const {
    if (other.length_ == 0) return -1;
    int pos = findStr(other, caseSensitive, start);
    while (pos >= 0 &&
           (isWordCharacter(into(pos - 1)) || isWordCharacter(into(pos + other.length_))))
        pos = findStr(other, caseSensitive, pos + 1);
    return pos;
}

int KLTastrc::findChr(const KLTastrc& set, int start) const {
    return findForward(*this, set, start, true);
}

int KLTastrc::findChrOther(const KLTastrc& set, int start) const {
    return findForward(*this, set, start, false);
}

int KLTastrc::findChrRev(const KLTastrc& set, int start) const {
    return findBackward(*this, set, start, true);
}

int KLTastrc::findChrOtherRev(const KLTastrc& set, int start) const {
    return findBackward(*this, set, start, false);
}
