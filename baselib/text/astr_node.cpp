#include "baselib/text/astr_node.h"

#include <atomic>
#include <new>

namespace {

constexpr uint32_t sizeStep = 64;
constexpr uint32_t sizeMax = INT_MAX / sizeStep * sizeStep;
constexpr int overhead = 11;

// The size of the node for a text of length characters; (3n + 36) / 2 + 10 in a form that no
// length carries beyond 32 bits.
int nodeSize(int length) {
    const auto n = static_cast<uint32_t>(length);
    const uint32_t needed = n + n / 2 + 28;
    const uint32_t rounded = (needed + sizeStep - 1) / sizeStep * sizeStep;
    const int size = rounded > sizeMax ? static_cast<int>(sizeMax) : static_cast<int>(rounded);
    if (length >= size - overhead) throw std::bad_array_new_length();
    return size;
}

using Counter = std::atomic<int32_t>;

// Constant-initialised: strings exist before any constructor of this file could run.
constinit Counter nodesAllocated{0};
constinit Counter nodesReleased{0};
constinit Counter nodesPeak{0};
constinit Counter bytesHeld{0};
constinit Counter bytesPeak{0};

constexpr auto relaxed = std::memory_order_relaxed;

void raise(Counter& peak, int32_t value) {
    int32_t known = peak.load(relaxed);
    while (known < value && !peak.compare_exchange_weak(known, value, relaxed)) {
    }
}

// Locked additions are half of what a short string costs: there is none for the live nodes.
int32_t live(int32_t allocated) {
    const auto released = static_cast<uint32_t>(nodesReleased.load(relaxed));
    return static_cast<int32_t>(static_cast<uint32_t>(allocated) - released);
}

void countAllocation(int size) {
    raise(nodesPeak, live(nodesAllocated.fetch_add(1, relaxed)) + 1);
    raise(bytesPeak, bytesHeld.fetch_add(size, relaxed) + size);
}

void countRelease(int size) {
    bytesHeld.fetch_sub(size, relaxed);
    nodesReleased.fetch_add(1, relaxed);
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
    const int32_t allocated = nodesAllocated.load(relaxed);
    return {allocated, bytesHeld.load(relaxed), bytesPeak.load(relaxed), live(allocated),
            nodesPeak.load(relaxed)};
}
