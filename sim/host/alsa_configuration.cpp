#include "sim/host/alsa_configuration.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>

namespace k4sim {

namespace {

constexpr char configuration_name[] = "k4sim-alsa.conf";

// libasound wants absolute paths; the loader may know the library by another one.
std::filesystem::path own_path() {
    Dl_info info{};
    dladdr(reinterpret_cast<const void*>(&configure_alsa), &info);
    std::error_code error;
    return std::filesystem::absolute(info.dli_fname, error);
}

} // namespace

void configure_alsa() {
    const std::filesystem::path library = own_path();
    setenv("K4SIM_ALSA_LIBRARY", library.c_str(), 1);
    setenv("ALSA_CONFIG_PATH", library.parent_path().append(configuration_name).c_str(), 1);
}

} // namespace k4sim
