#pragma once
// A thin stream of texts, without any formatting.

#include "baselib/print/out.h"
#include "baselib/text/astr.h"

// Prints a text from its last character to its first. The text stays the caller's.
class KLTreverseOut {
public:
    explicit KLTreverseOut(const KLTastrc& text) : text_(text) {}
    const KLTastrc& text() const { return text_; }

private:
    KLTastrc text_;
};

class KLTostrm {
public:
    // The sink stays the caller's.
    explicit KLTostrm(KLTout& sink) : sink_(sink) {}
    // null: nothing.
    KLTostrm& operator<<(const char* text);
    KLTostrm& operator<<(const KLTastr& text);
    KLTostrm& operator<<(const KLTreverseOut& reversed);

private:
    KLTout& sink_;
};
