// KLTastrc: searches.

#include "baselib/text/astrc.h"

#include "baselib/text/character_set.h"
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

// The position that is count characters behind another, -1 at the end of the text.
int behind(int pos, std::size_t count, const KLTastrc& text) {
    if (count >= static_cast<std::size_t>(text.length() - pos)) return -1;
    const int found = pos + static_cast<int>(count);
    return text.text()[found] != '\0' ? found : -1;
}

// The last character at or before start that is (not) in set.
int findBackward(const KLTastrc& text, const KLTastrc& set, int start, bool wanted) {
    const KLTcharacterSet characters(set);
    int pos = std::min(start, text.length() - 1);
    while (pos >= 0 && characters.contains(text.text()[pos]) != wanted)
        --pos;
    return std::max(pos, -1);
}

} // namespace

int KLTastrc::findStr(const KLTastrc& other, bool caseSensitive, int start) const {
    int pos = std::max(start, 0);
    const int last = length_ - other.length_;
    if (pos > last) return -1;
    if (caseSensitive) {
        const void* const found = memmem(text_ + pos, static_cast<std::size_t>(length_ - pos),
                                         other.text_, static_cast<std::size_t>(other.length_));
        return found ? static_cast<int>(static_cast<const char*>(found) - text_) : -1;
    }
    while (pos <= last && !equal(text_ + pos, other.text_, other.length_, false))
        ++pos;
    return pos <= last ? pos : -1;
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
    const int pos = std::max(start, 0);
    if (pos >= length_) return -1;
    return behind(pos, std::strcspn(text_ + pos, set.text_), *this);
}

int KLTastrc::findChrOther(const KLTastrc& set, int start) const {
    const int pos = std::max(start, 0);
    if (pos >= length_) return -1;
    return behind(pos, std::strspn(text_ + pos, set.text_), *this);
}

int KLTastrc::findChrRev(const KLTastrc& set, int start) const {
    return findBackward(*this, set, start, true);
}

int KLTastrc::findChrOtherRev(const KLTastrc& set, int start) const {
    return findBackward(*this, set, start, false);
}
