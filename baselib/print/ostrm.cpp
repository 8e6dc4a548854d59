#include "baselib/print/ostrm.h"

KLTostrm& KLTostrm::operator<<(const char* text) {
    if (text != nullptr) sink_.ostring(text);
    return *this;
}

KLTostrm& KLTostrm::operator<<(const KLTastr& text) { return *this << text.text(); }

KLTostrm& KLTostrm::operator<<(const KLTreverseOut& reversed) {
    const KLTastrc& text = reversed.text();
    for (int i = text.length() - 1; i >= 0; --i)
        sink_.ochar(text.into(i));
    return *this;
}
