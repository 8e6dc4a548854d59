// Any file as a scenario is refused with a line that names it, or gives a setup that the device
// library reads as it was written.

#include "../baselib/choices.h"
#include "sim/launcher/options.h"
#include "sim/launcher/scenario.h"

#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// As much as a person would write, so that the fuzzer comes to what stands behind the parser.
constexpr char beginning[] = "board = 'aes'\n[[step]]\nat = 1\ndo = 'press 5'\n[[expect]]\n";

struct File {
    File(const std::uint8_t* data, std::size_t size) {
        const bool begun = size > 0 && data[0] % 2 == 0;
        const std::string text =
            (begun ? beginning : "") + std::string(data + (size > 0), data + size);
        require(write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size()),
                "no room");
    }
    ~File() { close(descriptor); }

    int descriptor = memfd_create("scenario", 0);
    std::string path = "/proc/self/fd/" + std::to_string(descriptor);
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const File file(data, size);
    k4sim::Options options;
    try {
        k4sim::read_scenario(file.path, options);
    } catch (const k4sim::UsageError& error) {
        const std::string text = error.what();
        require(text.starts_with(file.path) && text.find('\n') == std::string::npos, text);
        return 0;
    }
    const std::string encoded = k4sim::encode(options.setup);
    const auto again = k4sim::decode(encoded);
    require(again && k4sim::encode(*again) == encoded, encoded);
    return 0;
}
