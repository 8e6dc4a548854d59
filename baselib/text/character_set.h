#pragma once
// The characters of a text, to be asked for many times. For the sources of the strings.

#include "baselib/text/astrc.h"

#include <array>
#include <cstdint>

class KLTcharacterSet {
public:
    explicit KLTcharacterSet(const KLTastrc& characters) {
        for (int i = 0; i < characters.length(); ++i) {
            const auto c = static_cast<unsigned char>(characters.text()[i]);
            bits_[c / wordBits] |= 1U << c % wordBits;
        }
    }

    bool contains(char character) const {
        const auto c = static_cast<unsigned char>(character);
        return bits_[c / wordBits] >> c % wordBits & 1U;
    }

private:
    static constexpr unsigned wordBits = 32;

    std::array<uint32_t, 256 / wordBits> bits_{};
};
