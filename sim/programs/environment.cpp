#include "sim/programs/environment.h"

#include "sim/setup_process.h"

namespace k4sim {

namespace {

constexpr std::string_view preload_variable = "LD_PRELOAD";

std::string assignment(std::string_view name, std::string_view value) {
    std::string text(name);
    return text.append("=").append(value);
}

} // namespace

std::vector<std::string> environment_with(std::string_view library, std::string_view role,
                                          char* const* variables) {
    std::string preload = assignment(preload_variable, library_folder).append(library);
    std::vector<std::string> result;
    for (; variables != nullptr && *variables != nullptr; ++variables) {
        const std::string_view variable(*variables);
        const std::size_t equals = variable.find('=');
        const std::string_view name = variable.substr(0, equals);
        if (name != preload_variable && name != role_variable)
            result.emplace_back(variable);
        else if (name == preload_variable && equals + 1 < variable.size())
            preload.append(":").append(variable.substr(equals + 1));
    }
    result.push_back(preload);
    result.push_back(assignment(role_variable, role));
    return result;
}

std::vector<char*> pointers_to(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string& text : texts)
        pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace k4sim
