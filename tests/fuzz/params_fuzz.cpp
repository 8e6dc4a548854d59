// Any command line, read by a format with every conversion. The sanitizers judge.
#include "baselib/params.h"
#include "baselib/text/astr.h"

#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string first(data, data + size / 2);
    const std::string second(data + size / 2, data + size);
    const char* arguments[] = {"program", first.c_str(), second.c_str(), first.c_str()};
    bool absent = false, present = false, matched = false;
    long number = 0;
    long long long_number = 0;
    KLTastr text;
    KLTparams(4, arguments, size % 2 != 0)
        .parse("r%P a%p n%l b%L t%%s", &absent, &present, &number, &long_number, &text, &matched);
    return 0;
}
