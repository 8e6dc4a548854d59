#pragma once
// A sink that hands whole lines on.

#include "baselib/print/out.h"

#include <array>

// Puts pieces of text together and writes each line at once, with its "\n", so that the lines of
// several threads, each with a KLTlineOut of its own on the same sink, never mix. A line longer
// than the buffer goes out in parts. What has no line end yet goes out with oflush and at the end.
//
// Used by one thread. Codes: those of the sink for the lines that a call has completed, the first
// failure; else 0, for ochar 1, and KLTioBadArgument as in KLTout.
class KLTlineOut : public KLTout {
public:
    // sink: stays the caller's, and outlives this object.
    explicit KLTlineOut(KLTout& sink) : sink_(sink) {}
    ~KLTlineOut() override { emit(); }

    int ochar(int c) override;
    int oblock(const void* data, int n) override;
    int ostring(const char* text) override;
    int ofull() override { return 0; }
    int oflush(bool all) override;

private:
    int emit();

    KLTout& sink_;
    std::array<char, 256> line_{};
    int length_ = 0;
};
