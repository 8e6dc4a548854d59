#include "sim/models/sound/wave.h"

#include <algorithm>
#include <string_view>

namespace k4sim {

namespace {

constexpr std::uint32_t sample_size = 2;
constexpr std::uint32_t format_chunk_bytes = 16;
constexpr std::uint32_t plain_samples = 1;
constexpr std::uint32_t bits_per_byte = 8;
constexpr std::size_t chunk_head_bytes = 8;

} // namespace

std::array<char, wave_head_bytes> wave_head(std::uint32_t rate_hz, std::uint32_t channels,
                                            std::uint32_t data_bytes) {
    std::array<char, wave_head_bytes> head{};
    auto place = head.begin();
    const auto name = [&](std::string_view text) { place = std::ranges::copy(text, place).out; };
    const auto number = [&](std::uint32_t value, int bytes) {
        for (; bytes > 0; --bytes, value >>= bits_per_byte)
            *place++ = static_cast<char>(value & 0xFF);
    };
    const std::uint32_t frame_bytes = channels * sample_size;
    name("RIFF");
    number(static_cast<std::uint32_t>(wave_head_bytes - chunk_head_bytes) + data_bytes, 4);
    name("WAVEfmt ");
    number(format_chunk_bytes, 4);
    number(plain_samples, 2);
    number(channels, 2);
    number(rate_hz, 4);
    number(rate_hz * frame_bytes, 4);
    number(frame_bytes, 2);
    number(sample_size * bits_per_byte, 2);
    name("data");
    number(data_bytes, 4);
    return head;
}

} // namespace k4sim
