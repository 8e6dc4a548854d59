#include "../baselib/astr_model.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Choices choices(data, size);
    AstrModel(choices).run();
    return 0;
}
