#pragma once
// Hexadecimal memory dumps.

#include "baselib/print/print.h"

// A line shows the offset from the start, the bytes in groups, and their characters with a
// "." for every byte that is not printable ASCII:
//
//     00000010: 4b 45 4c 6c 69 62 00 01  ff                       KElib...
class KLTmemdump {
public:
    // The memory stays the caller's. Null has no bytes.
    KLTmemdump(const volatile void* data, unsigned length);

    // bytesPerLine: 1..64, else 16. groupSize: a further blank between groups of so many
    // bytes; below 1: no groups. Each line ends with the print object's line end. Resets all
    // formatting, as `norm` does.
    void dump(KLTprint& print, int bytesPerLine = 16, int groupSize = 8) const;

private:
    void dumpLine(KLTprint& print, unsigned offset, unsigned bytesPerLine, int groupSize) const;

    const volatile unsigned char* data_;
    unsigned length_;
};
