#pragma once
// A C stdio stream as a sink, and the two of the console.

#include "baselib/print/out.h"

#include <cstddef>
#include <cstdio>

// Codes: KLTioNoStream without a stream, KLTioBadArgument, and EOF (-1) when stdio refuses,
// but for a string with translation, which is written by ochar.
class KLToutHandle : public KLTout {
public:
    // stream: may be null; stays the caller's. translate: "\n" goes out as "\r\n", in
    // ochar and ostring; oblock is never translated.
    explicit KLToutHandle(FILE* stream, bool translate = false)
        : own_(stream), stream_(&own_), translate_(translate) {}
    // The null stream.
    explicit KLToutHandle(std::nullptr_t) : KLToutHandle(static_cast<FILE*>(nullptr)) {}
    // Follows a variable, such as stdout, so that the sink needs no initialisation at run
    // time and a program may exchange the stream.
    constexpr explicit KLToutHandle(FILE* const* variable, bool translate = false)
        : stream_(variable), translate_(translate) {}

    int ochar(int c) override;
    int oblock(const void* data, int n) override;
    int ostring(const char* text) override;
    int oflush(bool all) override;
    int ofull() override { return 0; }

private:
    FILE* own_ = nullptr;
    FILE* const* stream_;
    bool translate_;
};

// Standard output and standard error, without translation. Usable in every static
// initialiser and destructor.
extern KLToutHandle& devout;
extern KLToutHandle& deverr;
