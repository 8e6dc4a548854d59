// The sinks and print objects of the console, in one place: each is a constant address for
// the next, so that none waits for an initialisation at run time.

#include "baselib/print/immortal.h"
#include "baselib/print/out_handle.h"
#include "baselib/print/print.h"

namespace {

constinit KLTimmortal<KLToutHandle> outHandle{&stdout};
constinit KLTimmortal<KLToutHandle> errHandle{&stderr};
constinit KLTimmortal<KLTprint> outPrint{outHandle.object};
constinit KLTimmortal<KLTprint> errPrint{errHandle.object};

} // namespace

constinit KLToutHandle& devout = outHandle.object;
constinit KLToutHandle& deverr = errHandle.object;
constinit KLTprint& pout = outPrint.object;
constinit KLTprint& perr = errPrint.object;
