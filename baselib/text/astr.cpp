// KLTastr: life, node, and the two ways to change a text.

#include "baselib/text/astr.h"

#include "baselib/text/astr_node.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <new>
#include <utility>

namespace {

// Often nothing, and then without a call.
void copy(char* to, const char* from, int count) {
    if (count > 0) std::memcpy(to, from, static_cast<std::size_t>(count));
}

int lengthUpTo(const char* text, int limit) {
    return limit > 0 ? static_cast<int>(strnlen(text, static_cast<std::size_t>(limit))) : 0;
}

} // namespace

KLTastr::KLTastr() : KLTastrc(empty, 0) {}

KLTastr::KLTastr(const char* source) : KLTastr() { append(source, INT_MAX); }

KLTastr::KLTastr(const KLTastrc& source) : KLTastr() { append(source.text(), source.length()); }

KLTastr::KLTastr(const KLTastr& source) : KLTastrc(source), node_(source.node_) {
    if (node_) ++node_->references;
    checkKrnl2(__LINE__);
}

KLTastr::KLTastr(KLTastr&& source) noexcept
    : KLTastrc(source), node_(std::exchange(source.node_, nullptr)) {
    source.adopt(nullptr, 0);
}

KLTastr::~KLTastr() { release(); }

KLTastr& KLTastr::operator=(const char* source) { return assign(source); }

KLTastr& KLTastr::operator=(const KLTastrc& source) { return assign(source); }

KLTastr& KLTastr::operator=(const KLTastr& source) {
    if (this == &source) return *this;
    // Counted first: this may hold the same node.
    if (source.node_) ++source.node_->references;
    HN* const node = source.node_;
    const int length = source.length_;
    release();
    adopt(node, length);
    checkKrnl2(__LINE__);
    return *this;
}

// NOLINTNEXTLINE(performance-noexcept-move-constructor,bugprone-exception-escape): checks
KLTastr& KLTastr::operator=(KLTastr&& source) {
    std::swap(text_, source.text_);
    std::swap(length_, source.length_);
    std::swap(node_, source.node_);
    if (this != &source) source.clr();
    checkKrnl2(__LINE__);
    return *this;
}

KLTastr& KLTastr::assign(const char* source, int pos, int n) {
    if (!source) return clr();
    const int start = lengthUpTo(source, pos);
    splice(0, length_, source + start, n);
    checkKrnl2(__LINE__);
    return *this;
}

KLTastr& KLTastr::assign(const KLTastrc& source, int pos, int n) {
    const int start = std::clamp(pos, 0, source.length());
    splice(0, length_, source.text() + start, std::min(n, source.length() - start));
    checkKrnl2(__LINE__);
    return *this;
}

// A gap of count characters, more than none, at the end.
inline char* KLTastr::openEnd(int count) {
    const bool hasRoom = node_ && node_->references == 1 && count < node_->capacity - length_;
    if (!hasRoom) return moveEnd(count);
    char* const end = node_->text() + length_;
    length_ += count;
    end[count] = '\0';
    return end;
}

// The same where the text has to move.
char* KLTastr::moveEnd(int count) {
    if (node_) return open(length_, 0, count);
    adopt(HN::allocate(count), count);
    node_->text()[count] = '\0';
    return node_->text();
}

// Text of another owner, n characters without a NUL, behind this one.
void KLTastr::put(const char* source, int n) {
    if (n > 0) std::memcpy(openEnd(n), source, static_cast<std::size_t>(n));
}

KLTastr& KLTastr::append(const char* source, int n) {
    if (!source) return *this;
    n = lengthUpTo(source, n);
    if (hasOverlap(source)) return spliceOwn(length_, 0, source, n);
    put(source, n);
    return *this;
}

KLTastr& KLTastr::append(const KLTastrc& source) { return append(source.text(), source.length()); }

KLTastr& KLTastr::append(int c, int count) {
    if (count != 1) return fill(length_, c, count);
    if ((c & 0xFF) != 0) *openEnd(1) = static_cast<char>(c);
    return *this;
}

KLTastr& KLTastr::erase() { return clr(); }

KLTastr& KLTastr::clr() {
    release();
    adopt(nullptr, 0);
    return *this;
}

KLTastr& KLTastr::cleanCopy(int length) {
    if (node_ && mustMove(std::max(length, length_))) {
        HN* const node = HN::allocate(std::max(length, length_));
        copy(node->text(), text_, length_ + 1);
        const int kept = length_;
        release();
        adopt(node, kept);
    }
    return *this;
}

bool KLTastr::hasOverlap(const char* source) const {
    // A plain "<" is not defined between pointers to different texts.
    const std::less<> before;
    return node_ && !before(source, text_) && before(source, text_ + length_);
}

void KLTastr::checkKrnl2(int line) const {
    const int error = check();
    if (error == 0) return;
    std::fprintf(stderr, "KLTastr::check() error %d in line %d\r\n", error, line);
    throw int(error);
}

int KLTastr::check() const {
    if (!text_) return -1;
    if (!node_) return length_ != 0 ? -2 : *text_ != '\0' ? -3 : 0;
    if (length_ < 1) return -4;
    if (text_ != node_->text()) return -5;
    if (length_ >= node_->capacity) return -6;
    if (*text_ == '\0') return -7;
    if (node_->references < 1) return -8;
    return text_[length_] != '\0' ? -9 : 0;
}

void KLTastr::release() {
    if (node_) HN::release(node_);
    node_ = nullptr;
}

void KLTastr::adopt(HN* node, int length) {
    node_ = node;
    text_ = node ? node->text() : empty;
    length_ = length;
}

bool KLTastr::mustMove(int length) const {
    return !node_ || node_->references > 1 || node_->capacity <= length;
}

// Opens a gap of inserted characters at pos, in place of removed ones, in a node that is
// this string's alone, and returns where it is. The result must not be empty.
char* KLTastr::open(int pos, int removed, int inserted) {
    const int64_t newLength = int64_t{length_} - removed + inserted;
    if (newLength >= INT_MAX) throw std::bad_array_new_length();
    const int length = static_cast<int>(newLength);
    const char* const tail = text_ + pos + removed;
    const int tailLength = length_ - pos - removed;
    if (mustMove(length)) {
        HN* const node = HN::allocate(length);
        copy(node->text(), text_, pos);
        copy(node->text() + pos + inserted, tail, tailLength);
        release();
        node_ = node;
    } else if (tailLength > 0) {
        std::memmove(node_->text() + pos + inserted, tail, static_cast<std::size_t>(tailLength));
    }
    adopt(node_, length);
    node_->text()[length] = '\0';
    return node_->text() + pos;
}

// At most n characters of source in place of removed ones at pos; both lie inside the text.
KLTastr& KLTastr::splice(int pos, int removed, const char* source, int n) {
    n = lengthUpTo(source, n);
    if (removed == 0 && n == 0) return *this;
    if (removed == length_ && n == 0) return clr();
    if (hasOverlap(source)) return spliceOwn(pos, removed, source, n);
    copy(open(pos, removed, n), source, n);
    return *this;
}

// One more sharer keeps the old text, and so the source, alive and in place.
KLTastr& KLTastr::spliceOwn(int pos, int removed, const char* source, int n) {
    if (removed == 0 && n == 0) return *this;
    const KLTastr keeper = *this;
    copy(open(pos, removed, n), source, n);
    return *this;
}

// c, count times, at pos. Not drawn into append(), which is done with one character by itself.
[[gnu::noinline]] KLTastr& KLTastr::fill(int pos, int c, int count) {
    if (count <= 0 || (c & 0xFF) == 0) return *this;
    std::memset(open(pos, 0, count), c & 0xFF, static_cast<std::size_t>(count));
    return *this;
}
