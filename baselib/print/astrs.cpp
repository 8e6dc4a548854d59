#include "baselib/print/astrs.h"

#include <climits>

int KLTastrdevext::ochar(int c) {
    text_.append(c, 1);
    return 1;
}

// NUL is no character of a string: what stands between is appended.
int KLTastrdevext::oblock(const void* data, int n) {
    if (data == nullptr || n < 1) return KLTioBadArgument;
    const auto* next = static_cast<const char*>(data);
    for (const char* const end = next + n; next < end; ++next) {
        const int before = text_.length();
        text_.append(next, static_cast<int>(end - next));
        next += text_.length() - before;
    }
    return 0;
}

int KLTastrdevext::ostring(const char* text) {
    text_.append(text, INT_MAX);
    return 0;
}
