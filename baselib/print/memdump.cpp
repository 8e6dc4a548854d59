#include "baselib/print/memdump.h"

#include "baselib/print/nstream.h"

namespace {

constexpr int bytesPerLineDefault = 16;
constexpr int bytesPerLineMax = 64;

char shown(unsigned char byte) {
    return byte >= ' ' && byte <= '~' ? static_cast<char>(byte) : '.';
}

} // namespace

KLTmemdump::KLTmemdump(const volatile void* data, unsigned length)
    : data_(static_cast<const volatile unsigned char*>(data)),
      length_(data != nullptr ? length : 0) {}

void KLTmemdump::dump(KLTprint& print, int bytesPerLine, int groupSize) const {
    const bool fits = bytesPerLine >= 1 && bytesPerLine <= bytesPerLineMax;
    const auto step = static_cast<unsigned>(fits ? bytesPerLine : bytesPerLineDefault);
    print << KLNstream::norm;
    for (unsigned offset = 0; offset < length_; offset += step) {
        dumpLine(print, offset, step, groupSize);
        if (length_ - offset <= step) break; // the next offset could wrap
    }
}

void KLTmemdump::dumpLine(KLTprint& print, unsigned offset, unsigned bytesPerLine,
                          int groupSize) const {
    print << KLNstream::hex8 << offset << ":";
    for (unsigned i = 0; i < bytesPerLine; ++i) {
        if (groupSize > 0 && i > 0 && i % static_cast<unsigned>(groupSize) == 0) print << ' ';
        if (i < length_ - offset)
            print << ' ' << KLNstream::hex2 << data_[offset + i];
        else
            print << "   ";
    }
    print << "  ";
    for (unsigned i = 0; i < bytesPerLine && i < length_ - offset; ++i)
        print << shown(data_[offset + i]);
    print << KLNstream::cr;
}
