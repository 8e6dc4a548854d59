#include "baselib/print/out.h"

#include "baselib/print/immortal.h"
#include "baselib/print/multiout.h"

namespace {

constinit KLTimmortal<NullDeviceOut> nullDevice;

} // namespace

constinit NullDeviceOut& devNull = nullDevice.object;

KLTout::~KLTout() { KLTmultiout::forget(*this); }

int KLTout::oblock(const void* data, int n) {
    if (data == nullptr || n < 1) return KLTioBadArgument;
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (int i = 0; i < n; ++i)
        ochar(bytes[i]);
    return 0;
}

int KLTout::ostring(const char* text) {
    if (text == nullptr) return KLTioBadArgument;
    for (; *text != '\0'; ++text)
        ochar(static_cast<unsigned char>(*text));
    return 0;
}

int KLTout::oflush(bool) { return 0; }

KLTout* KLTout::null() { return &devNull; }

int NullDeviceOut::oblock(const void* data, int n) {
    return data == nullptr || n < 1 ? KLTioBadArgument : 0;
}
