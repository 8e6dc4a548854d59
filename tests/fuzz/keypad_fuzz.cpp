// Feeds any sequence of status words and queue operations to the key buffer.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "hw/keypad.h"

namespace {

constexpr int queueMax = 19;

void require(bool condition) {
    if (!condition) std::abort();
}

bool isEvent(int event) {
    const int code = event & ~CHfpK4keyBuf::released;
    const bool isStep = code == 12 || code == 13 || code == 20 || code == 21;
    return code >= 0 && code <= 21 && !(isStep && event != code);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CHfpK4keyBuf keys;
    int queued = 0;
    for (; size >= 5; data += 5, size -= 5) {
        std::uint32_t word = 0;
        std::memcpy(&word, data + 1, sizeof word);
        if (data[0] & 1) keys.init(data[1]);
        const int before = queued;
        queued = keys.analyze(word);
        require(queued >= before && queued <= queueMax);
        if (data[0] & 2) queued -= keys.getall(data[0] >> 2);
        if (data[0] & 4 && queued > 0) {
            require(isEvent(keys.getkey()));
            --queued;
        }
        require(queued >= 0);
    }
    for (; queued > 0; --queued)
        require(isEvent(keys.getkey()));
    require(keys.getkey() == CHfpK4keyBuf::noEvent);
    return 0;
}
