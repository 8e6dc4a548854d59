// Prints any value with any formatting and compares with printf.

#include "../baselib/print_model.h"

#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    PrintCase input{};
    std::memcpy(&input, data, std::min(size, sizeof input));
    if (printed(input) == printed_by_printf(input)) return 0;
    std::fprintf(stderr, "printed  \"%s\"\nexpected \"%s\"\n", printed(input).c_str(),
                 printed_by_printf(input).c_str());
    std::abort();
}
