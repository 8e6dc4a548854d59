#include "baselib/print/line_out.h"

#include <cstring>

int KLTlineOut::ochar(int c) {
    line_[static_cast<size_t>(length_++)] = static_cast<char>(c);
    if (c != '\n' && length_ < static_cast<int>(line_.size())) return 1;
    const int result = emit();
    return result < 0 ? result : 1;
}

int KLTlineOut::oblock(const void* data, int n) {
    if (data == nullptr || n < 1) return KLTioBadArgument;
    int first = 0;
    for (int i = 0; i < n; ++i) {
        const int result = ochar(static_cast<const unsigned char*>(data)[i]);
        if (result < 0 && first == 0) first = result;
    }
    return first;
}

int KLTlineOut::ostring(const char* text) {
    if (text == nullptr) return KLTioBadArgument;
    return *text == '\0' ? 0 : oblock(text, static_cast<int>(strlen(text)));
}

int KLTlineOut::oflush(bool all) {
    const int emitted = emit();
    const int flushed = sink_.oflush(all);
    return emitted < 0 ? emitted : flushed;
}

int KLTlineOut::emit() {
    if (length_ == 0) return 0;
    const int length = length_;
    length_ = 0;
    return sink_.oblock(line_.data(), length);
}
