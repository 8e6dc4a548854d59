#include "../baselib/number_model.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Choices choices(data, size);
    compareNumbers(choices);
    return 0;
}
