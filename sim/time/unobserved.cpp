#include "sim/time/unobserved.h"

#include <dlfcn.h>

namespace k4sim {

namespace {

// The runtime counts: as many ends as beginnings.
using Annotation = void (*)(const char* file, int line);

struct Annotations {
    Annotation begin_reads = find("AnnotateIgnoreReadsBegin");
    Annotation end_reads = find("AnnotateIgnoreReadsEnd");
    Annotation begin_writes = find("AnnotateIgnoreWritesBegin");
    Annotation end_writes = find("AnnotateIgnoreWritesEnd");

    static Annotation find(const char* name) {
        return reinterpret_cast<Annotation>(dlsym(RTLD_DEFAULT, name));
    }
};

const Annotations& annotations() {
    static const Annotations found;
    return found;
}

void call(Annotation annotation) {
    if (annotation != nullptr) annotation(__FILE__, __LINE__);
}

} // namespace

Unobserved::Unobserved() {
    call(annotations().begin_reads);
    call(annotations().begin_writes);
}

Unobserved::~Unobserved() {
    call(annotations().end_writes);
    call(annotations().end_reads);
}

} // namespace k4sim
