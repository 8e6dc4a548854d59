#pragma once
// Sources: where bytes come from.

#include "baselib/print/out.h"

class KLTin {
public:
    KLTin() = default;
    virtual ~KLTin() = default;

    // Locking. Without a lock: nothing.
    virtual void ilock() {}
    virtual void irelease() {}
    virtual void iguard() {}
    virtual void ilocktime() {}

    // Reads one byte, waiting for it. 0..255, or a negative code.
    virtual int ichar() = 0;
    // The same without waiting; KLTioNoData when there is no byte yet.
    virtual int icharns() = 0;
    // The next byte without taking it; KLTioNoData where a source can't tell.
    virtual int ipeek() { return KLTioNoData; }
    // Waits at most `timeout` microseconds; KLTioNoData when they have passed.
    virtual int icharti(long long timeout) = 0;
    // Reads up to n bytes. How many were read before the data ended; 0 for n = 0; the code
    // of a failure; KLTioBadArgument for null or a negative n.
    virtual int iblock(void* data, int n);
    // Whether there is nothing to read, as a number: 0 for no.
    virtual int iempty() = 0;
    // Reads a line of at most len - 1 bytes: up to "\n" or a NUL byte, neither of which is
    // stored. Always NUL-terminated. How many bytes were stored; the code of a failure with
    // nothing read; KLTioBadArgument for null or a len below 2.
    virtual int istring(char* text, int len);
    // Drops what has arrived.
    virtual void iflush() {}
};

// A source with a position, such as a file.
class KLTinStream : public KLTin {
public:
    // Whether the end is reached, as a number: 0 for no.
    virtual int ieof() = 0;
    // Skips bytes. 0 or a negative code.
    virtual int iskip(int count) = 0;
};
