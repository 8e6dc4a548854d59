#pragma once

#include "baselib/text/astr.h"

#include <string>

inline std::string characters(const KLTastrc& text) {
    return {text.text(), static_cast<size_t>(text.length())};
}
