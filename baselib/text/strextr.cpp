#include "baselib/text/strextr.h"

#include "baselib/text/number.h"

#include <algorithm>

KLTstrextr::KLTstrextr(const KLTastrc& text, const char* delimiters)
    : text_(text), delimiters_(delimiters) {}

bool KLTstrextr::skipDelims() {
    const int start = next().start;
    position_ = start < 0 ? text_.length() : start;
    return start >= 0;
}

int KLTstrextr::extract(KLTastr& token, int maxLength) {
    const auto [start, end] = next();
    if (start < 0) return KLTnumberEmpty;
    const int length = std::min(end - start, std::max(maxLength, 1));
    token = text_.substr(start, length);
    position_ = start + length;
    return KLTnumberOk;
}

KLTastr KLTstrextr::extractLine() {
    KLTastr line = text_.getUpTo("\r\n", position_);
    position_ += line.length();
    if (text_.into(position_) == '\r' && text_.into(position_ + 1) == '\n') ++position_;
    position_ = std::min(position_ + 1, text_.length());
    return line;
}

int KLTstrextr::extract(double& value) {
    const auto [start, end] = next();
    if (start < 0) return KLTnumberEmpty;
    const int status = KLNnumber::parse(text_.text() + start, end - start, value);
    if (status == KLTnumberOk) position_ = end;
    return status;
}

int KLTstrextr::extract(int& value, int base) { return extractInteger(value, base); }

int KLTstrextr::extract(long& value, int base) { return extractInteger(value, base); }

int KLTstrextr::extract(unsigned long& value, int base) { return extractInteger(value, base); }

int KLTstrextr::extract(long long& value, int base) { return extractInteger(value, base); }

KLTstrextr::Token KLTstrextr::next() const {
    const int start = text_.findChrOther(delimiters_, position_);
    const int end = start < 0 ? -1 : text_.findChr(delimiters_, start);
    return {start, end < 0 ? text_.length() : end};
}

template <class Number>
int KLTstrextr::extractInteger(Number& value, int base) {
    const auto [start, end] = next();
    if (start < 0) return KLTnumberEmpty;
    const int status = KLNnumber::parseAs(text_.text() + start, end - start, base, value);
    if (status == KLTnumberOk) position_ = end;
    return status;
}
