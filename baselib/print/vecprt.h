#pragma once
// Printing arrays of integers.

#include "baselib/print/modifier.h"

// pout << KLNstream::hex2 << KLTvecPrt(bytes, 4, " ", "\n", 1);
//
// Prints `count` integers of `elementSize` bytes (1, 2, 4 or 8; another size prints no
// elements) with the current formatting for each, the separator between them and the
// terminator behind the last, also when there is none. In base 10 the integers are signed.
// Null texts are empty. Unless persistent, the formatting is gone afterwards.
class KLTvecPrt : public KLTmodifier {
public:
    KLTvecPrt(const volatile void* data, int count, const char* separator, const char* terminator,
              int elementSize);
    void action(KLTprint& print) const override;

private:
    const volatile void* data_;
    int count_;
    const char* separator_;
    const char* terminator_;
    int elementSize_;
};
