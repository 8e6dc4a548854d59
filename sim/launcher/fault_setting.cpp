#include "sim/launcher/fault_setting.h"

#include "sim/formats/short_number.h"

#include <charconv>

namespace k4sim {

std::optional<FaultSetting> fault_setting(const std::string& text) {
    FaultSetting fault;
    const std::size_t at = text.rfind('@');
    if (at != std::string::npos) {
        double seconds = -1;
        const char* const text_end = text.data() + text.size();
        const auto [end, error] = std::from_chars(text.data() + at + 1, text_end, seconds);
        const auto time = from_seconds(seconds);
        if (error != std::errc{} || end != text_end || !time) return std::nullopt;
        fault.at_us = *time;
    }
    const std::string setting = text.substr(0, at);
    const std::size_t equals = setting.find('=');
    fault.name = setting.substr(0, equals);
    if (equals != std::string::npos) fault.value = setting.substr(equals + 1);
    return fault;
}

} // namespace k4sim
