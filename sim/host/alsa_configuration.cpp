#include "sim/host/alsa_configuration.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <string>
#include <string_view>

namespace k4sim {

namespace {

constexpr std::string_view card_prefix = "hw:";

// A file beside the library, and what it reads in the environment.
struct Configuration {
    const char* file;
    const char* variable;
    std::string value;
};

// libasound wants absolute paths; the loader may know the library by another one.
std::filesystem::path own_path() {
    Dl_info info{};
    dladdr(reinterpret_cast<const void*>(&configure_alsa), &info);
    std::error_code error;
    return std::filesystem::absolute(info.dli_fname, error);
}

Configuration real_configuration(const std::string& name) {
    if (name.starts_with(card_prefix))
        return {"k4sim-real-card.conf", "K4SIM_ALSA_CARD", name.substr(card_prefix.size())};
    return {"k4sim-real-pcm.conf", "K4SIM_ALSA_PCM", name};
}

} // namespace

void configure_alsa(const Setup& setup) {
    const RealPart* const real = real_part(setup, Role::sound);
    if (real != nullptr && real->names.empty()) return;
    const std::filesystem::path library = own_path();
    const Configuration used =
        real != nullptr ? real_configuration(real->names[0])
                        : Configuration{"k4sim-alsa.conf", "K4SIM_ALSA_LIBRARY", library};
    setenv(used.variable, used.value.c_str(), 1);
    setenv("ALSA_CONFIG_PATH", library.parent_path().append(used.file).c_str(), 1);
}

} // namespace k4sim
