#include "baselib/print/out_handle.h"

namespace {

int resultOf(bool written) { return written ? 0 : EOF; }

} // namespace

int KLToutHandle::ochar(int c) {
    FILE* stream = *stream_;
    if (stream == nullptr) return KLTioNoStream;
    if (translate_ && c == '\n' && fputc('\r', stream) == EOF) return EOF;
    return fputc(c, stream) == EOF ? EOF : 1;
}

int KLToutHandle::oblock(const void* data, int n) {
    if (data == nullptr || n < 1) return KLTioBadArgument;
    FILE* stream = *stream_;
    if (stream == nullptr) return KLTioNoStream;
    const auto count = static_cast<size_t>(n);
    return resultOf(fwrite(data, 1, count, stream) == count);
}

int KLToutHandle::ostring(const char* text) {
    if (text == nullptr) return KLTioBadArgument;
    FILE* stream = *stream_;
    if (stream == nullptr) return KLTioNoStream;
    if (translate_) return KLTout::ostring(text);
    return resultOf(fputs(text, stream) != EOF);
}

int KLToutHandle::oflush(bool) {
    if (*stream_ == nullptr) return KLTioNoStream;
    return resultOf(fflush(*stream_) == 0);
}
