#pragma once
// A file as a sink.

#include "baselib/print/out_handle.h"

// Creates the file, or empties the one that is there, and closes it at its own end. Without
// a file, because it could not be created, every operation answers KLTioNoStream; else the
// codes are those of KLToutHandle, EOF for a position too that the file cannot take or tell.
class KLTfileout : public KLToutStream {
public:
    explicit KLTfileout(const char* path);
    ~KLTfileout() override;

    int ochar(int c) override { return handle_.ochar(c); }
    int oblock(const void* data, int n) override { return handle_.oblock(data, n); }
    int ostring(const char* text) override { return handle_.ostring(text); }
    int oflush(bool all) override { return handle_.oflush(all); }
    int ofull() override { return 0; }

    // Where the next byte goes.
    long opos() override;
    // From the start of the file; from the position, backwards for a negative count.
    int oseek(long position) override;
    int oskip(int count) override;
    // With what is still buffered.
    long osize() override;

private:
    int move(long distance, int origin);

    FILE* stream_;
    KLToutHandle handle_;
};
