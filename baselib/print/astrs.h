#pragma once
// Printing into a string.

#include "baselib/print/print.h"
#include "baselib/text/astr.h"

// A sink that appends to a string, which stays its owner's. ostring takes null for the
// empty text.
class KLTastrdevext : public KLTout {
public:
    explicit KLTastrdevext(KLTastr& text) : text_(text) {}
    int ochar(int c) override;
    int oblock(const void* data, int n) override;
    int ostring(const char* text) override;
    int ofull() override { return 0; }

private:
    KLTastr& text_;
};

namespace KLNastrs {

// The string and its sink, which must be there before the print object on them.
struct Target {
    KLTastr text;
    KLTastrdevext sink{text};
};

} // namespace KLNastrs

// A print object that builds a string:
//     KLTastrs message;
//     message << "Missing USBs: " << n;
//     return message;
class KLTastrs : private KLNastrs::Target, public KLTprint {
public:
    KLTastrs() : KLTprint(sink) {}

    // Empties the string; formatting stays.
    void clr() { text.clr(); }

    // What was printed; a copy of it shares the text.
    const KLTastr& str() const { return text; }
    operator const KLTastr&() const { return text; }
};
