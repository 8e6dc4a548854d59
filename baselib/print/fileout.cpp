#include "baselib/print/fileout.h"

#include "baselib/thread/thread.h"

KLTfileout::KLTfileout(const char* path) : stream_(fopen(path, "wbe")), handle_(stream_) {}

KLTfileout::~KLTfileout() {
    if (stream_ == nullptr) return;
    const KLTptNoCancel noCancel; // fclose() is a cancellation point
    fclose(stream_);
}

long KLTfileout::opos() { return stream_ != nullptr ? ftell(stream_) : KLTioNoStream; }

int KLTfileout::oseek(long position) { return move(position, SEEK_SET); }

int KLTfileout::oskip(int count) { return move(count, SEEK_CUR); }

long KLTfileout::osize() {
    const long position = opos();
    if (position < 0) return position;
    const int status = move(0, SEEK_END);
    const long size = status == 0 ? opos() : status;
    return oseek(position) == 0 ? size : EOF;
}

int KLTfileout::move(long distance, int origin) {
    if (stream_ == nullptr) return KLTioNoStream;
    return fseek(stream_, distance, origin) == 0 ? 0 : EOF;
}
