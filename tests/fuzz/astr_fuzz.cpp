// Any sequence of changes of strings that share, move and overlap; each is done to a
// std::string as well, and every string checks itself.

#include "../baselib/astr_model.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::uint8_t* const end = data + size;
    const int32_t liveBefore = KLTastr::info().nodesLive;
    {
        AstrModel model([&data, end](unsigned limit) {
            const unsigned low = data != end ? *data++ : 0;
            const unsigned high = limit > 256 && data != end ? *data++ : 0;
            return (high << 8 | low) % limit;
        });
        while (data != end)
            if (!model.step()) std::abort();
    }
    if (KLTastr::info().nodesLive != liveBefore) std::abort();
    return 0;
}
