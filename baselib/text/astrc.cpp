#include "baselib/text/astrc.h"

#include "baselib/text/collation.h"
#include "baselib/text/latin1.h"
#include "baselib/text/number.h"

#include <algorithm>
#include <cstring>

namespace {

// 0 when two characters are equal, negative when a comes before b.
int difference(char a, char b, bool caseSensitive) {
    if (a == b) return 0;
    if (caseSensitive) return KLNcollation::rank(a) - KLNcollation::rank(b);
    return KLNcollation::rank(KLNcollation::fold(a)) - KLNcollation::rank(KLNcollation::fold(b));
}

int sign(int value) { return (value > 0) - (value < 0); }

// Equal parts are passed over by memcmp, which compares many characters at once.
constexpr int comparedSingly = 16;

bool same(const char* a, const char* b, int count) {
    return std::memcmp(a, b, static_cast<std::size_t>(count)) == 0;
}

// How many characters two texts have in common at their beginning, at most count.
int commonLength(const char* a, const char* b, int count, bool caseSensitive) {
    int common = 0;
    if (caseSensitive && count > comparedSingly) {
        if (same(a, b, count)) return count;
        while (count - common > comparedSingly) {
            const int half = (count - common) / 2;
            if (same(a + common, b + common, half))
                common += half;
            else
                count = common + half;
        }
    }
    while (common < count && difference(a[common], b[common], caseSensitive) == 0)
        ++common;
    return common;
}

} // namespace

const char KLTastrc::empty[1] = "";

KLTastrc::KLTastrc(const char* characters)
    : text_(characters && *characters ? characters : empty),
      length_(static_cast<int>(strnlen(text_, INT_MAX))) {}

int KLTastrc::trueLen() const {
    return static_cast<int>(strnlen(text_, static_cast<std::size_t>(length_)));
}

int KLTastrc::into(int pos) const {
    return pos >= 0 && pos < length_ ? static_cast<unsigned char>(text_[pos]) : 0;
}

bool KLTastrc::operator==(const KLTastrc& other) const {
    return length_ == other.length_ && same(text_, other.text_, length_);
}

int KLTastrc::compare(const KLTastrc& other, bool caseSensitive) const {
    return compareLeft(other, INT_MAX, caseSensitive);
}

int KLTastrc::compareLeft(const KLTastrc& other, int n, bool caseSensitive) const {
    const int ownCount = std::clamp(n, 0, length_);
    const int otherCount = std::clamp(n, 0, other.length_);
    const int shorter = std::min(ownCount, otherCount);
    const int common = commonLength(text_, other.text_, shorter, caseSensitive);
    if (common == shorter) return (ownCount > otherCount) - (ownCount < otherCount);
    return sign(difference(text_[common], other.text_[common], caseSensitive));
}

bool KLTastrc::matchLeft(const KLTastrc& other, bool caseSensitive) const {
    return other.length_ <= length_ &&
           commonLength(text_, other.text_, other.length_, caseSensitive) == other.length_;
}

bool KLTastrc::matchRight(const KLTastrc& other, bool caseSensitive) const {
    const int pos = length_ - other.length_;
    return pos >= 0 &&
           commonLength(text_ + pos, other.text_, other.length_, caseSensitive) == other.length_;
}

int KLTastrc::findDiffPos(const KLTastrc& other, bool caseSensitive) const {
    const int shorter = std::min(length_, other.length_);
    const int common = commonLength(text_, other.text_, shorter, caseSensitive);
    return common == shorter && length_ == other.length_ ? -1 : common;
}

bool KLTastrc::hasSpecial(bool control, bool blank, bool beyondAscii) const {
    const int wanted = (control ? KLNlatin1::control : 0) | (blank ? KLNlatin1::blank : 0) |
                       (beyondAscii ? KLNlatin1::beyondAscii : 0);
    return std::any_of(text_, text_ + length_,
                       [wanted](char c) { return (KLNlatin1::info(c) & wanted) != 0; });
}

bool KLTastrc::hasBOM() const { return matchLeft("\xEF\xBB\xBF"); }

int KLTastrc::num(long long& value, int base) const {
    return KLNnumber::parseAs(text_, length_, base, value);
}

int KLTastrc::num(double& value) const { return KLNnumber::parse(text_, length_, value); }

int KLTastrc::upper(int c) { return KLNlatin1::upper(c); }

int KLTastrc::charInfo(int c) { return KLNlatin1::info(c); }
