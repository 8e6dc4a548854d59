#include "sim/time/unobserved.h"

// The sanitizer's own; without it they are null. The runtime counts: as many ends as beginnings.
extern "C" {
[[gnu::weak]] void AnnotateIgnoreReadsBegin(const char* file, int line);
[[gnu::weak]] void AnnotateIgnoreReadsEnd(const char* file, int line);
[[gnu::weak]] void AnnotateIgnoreWritesBegin(const char* file, int line);
[[gnu::weak]] void AnnotateIgnoreWritesEnd(const char* file, int line);
}

namespace k4sim {

Unobserved::Unobserved() {
    if (AnnotateIgnoreReadsBegin == nullptr) return;
    AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
    AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
}

Unobserved::~Unobserved() {
    if (AnnotateIgnoreReadsBegin == nullptr) return;
    AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
    AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
}

} // namespace k4sim
