#pragma once
// The heap node of KLTastr. For the sources of the string and for tests of its checks.

#include "baselib/text/astr.h"

// One allocation: this head, then the text area.
//
// The node for a text of n characters has s = (3n + 36) / 2 + 10 bytes, rounded up to a
// multiple of 64; its capacity is 11 less, for the head and what the rounding may leave.
// Sizes end at the largest multiple of 64 that an int can hold; so do texts, one character
// below that capacity.
struct KLTastr::HN {
    int32_t capacity;   // bytes of the text area, NUL counted
    int32_t references; // strings that share the node, 1 at first

    char* text() { return reinterpret_cast<char*>(this + 1); }

    // A node with room for length characters. Throws what `new char[]` throws.
    static HN* allocate(int length);
    // Takes one string away from the node; without any left it is freed.
    static void release(HN* node);
};
