#include "baselib/print/vecprt.h"

#include "baselib/print/print.h"

#include <cstdint>

namespace {

template <class Element>
long long elementAt(const volatile void* data, int index) {
    return static_cast<const volatile Element*>(data)[index];
}

using Reader = long long (*)(const volatile void*, int);

Reader readerOf(int elementSize) {
    switch (elementSize) {
    case 1:
        return elementAt<int8_t>;
    case 2:
        return elementAt<int16_t>;
    case 4:
        return elementAt<int32_t>;
    case 8:
        return elementAt<int64_t>;
    default:
        return nullptr;
    }
}

const char* textOf(const char* text) { return text != nullptr ? text : ""; }

} // namespace

KLTvecPrt::KLTvecPrt(const volatile void* data, int count, const char* separator,
                     const char* terminator, int elementSize)
    : data_(data), count_(data != nullptr ? count : 0), separator_(textOf(separator)),
      terminator_(textOf(terminator)), elementSize_(elementSize) {}

void KLTvecPrt::action(KLTprint& print) const {
    const KLTprtFlags flags = print.flags();
    if (const Reader read = readerOf(elementSize_)) {
        for (int i = 0; i < count_; ++i) {
            if (i > 0) print.output().ostring(separator_);
            print << flags;
            print.prtint(read(data_, i), elementSize_, true);
        }
    }
    print.output().ostring(terminator_);
    print.nextflags();
}
