// Feeds any sequence of status words and queue operations to the key buffer and to its model.
#include <cstring>

#include "hw/keypad_model.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CHfpK4keyBuf keys;
    KeypadModel model;
    for (; size >= 5; data += 5, size -= 5) {
        std::uint32_t word = 0;
        std::memcpy(&word, data + 1, sizeof word);
        if (!agree(keys, model, data[0], word)) std::abort();
    }
    return 0;
}
