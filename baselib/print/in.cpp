#include "baselib/print/in.h"

int KLTin::iblock(void* data, int n) {
    if (data == nullptr || n < 0) return KLTioBadArgument;
    auto* bytes = static_cast<unsigned char*>(data);
    for (int i = 0; i < n; ++i) {
        const int c = ichar();
        if (c == KLTioNoData) return i;
        if (c < 0) return c;
        bytes[i] = static_cast<unsigned char>(c);
    }
    return n;
}

int KLTin::istring(char* text, int len) {
    if (text == nullptr || len < 2) return KLTioBadArgument;
    int count = 0;
    int c = 0;
    while (count < len - 1) {
        c = ichar();
        if (c <= 0 || c == '\n') break;
        text[count++] = static_cast<char>(c);
    }
    text[count] = '\0';
    return c < 0 && count == 0 ? c : count;
}
