#include "baselib/text/astr_node.h"

#include <atomic>
#include <new>

namespace {

constexpr int sizeStep = 64;
constexpr int sizeMax = INT_MAX / sizeStep * sizeStep;
constexpr int overhead = 11;

// The size of the node for a text of length characters, worked out in 64 bits: for long
// texts it is beyond an int.
int nodeSize(int length) {
    const int64_t needed = (int64_t{3} * length + 36) / 2 + 10;
    const int64_t rounded = (needed + sizeStep - 1) / sizeStep * sizeStep;
    const int size = rounded > sizeMax ? sizeMax : static_cast<int>(rounded);
    if (length >= size - overhead) throw std::bad_array_new_length();
    return size;
}

using Counter = std::atomic<int32_t>;

// Constant-initialised: strings exist before any constructor of this file could run.
constinit Counter nodesAllocated{0};
constinit Counter bytesHeld{0};
constinit Counter bytesPeak{0};
constinit Counter nodesLive{0};
constinit Counter nodesPeak{0};

constexpr auto relaxed = std::memory_order_relaxed;

void raise(Counter& peak, int32_t value) {
    int32_t known = peak.load(relaxed);
    while (known < value && !peak.compare_exchange_weak(known, value, relaxed)) {
    }
}

void countAllocation(int size) {
    nodesAllocated.fetch_add(1, relaxed);
    raise(bytesPeak, bytesHeld.fetch_add(size, relaxed) + size);
    raise(nodesPeak, nodesLive.fetch_add(1, relaxed) + 1);
}

void countRelease(int size) {
    bytesHeld.fetch_sub(size, relaxed);
    nodesLive.fetch_sub(1, relaxed);
}

} // namespace

KLTastr::HN* KLTastr::HN::allocate(int length) {
    const int size = nodeSize(length);
    char* const memory = new char[static_cast<std::size_t>(size)];
    HN* const node = new (memory) HN{size - overhead, 1};
    countAllocation(size);
    return node;
}

void KLTastr::HN::release(HN* node) {
    if (--node->references > 0) return;
    countRelease(node->capacity + overhead);
    delete[] reinterpret_cast<char*>(node);
}

KLTastrInfo KLTastr::info() {
    return {nodesAllocated.load(relaxed), bytesHeld.load(relaxed), bytesPeak.load(relaxed),
            nodesLive.load(relaxed), nodesPeak.load(relaxed)};
}
