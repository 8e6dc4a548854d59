// The head of a WAV file of 16-bit samples.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace k4sim {

inline constexpr std::size_t wave_head_bytes = 44;

// data_bytes: of all samples behind the head, at most 2^32 - 37.
std::array<char, wave_head_bytes> wave_head(std::uint32_t rate_hz, std::uint32_t channels,
                                            std::uint32_t data_bytes);

} // namespace k4sim
