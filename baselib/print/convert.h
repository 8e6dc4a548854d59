#pragma once
// Numbers to decimal digits.

#include <cstdint>

// Longest result of KLFconvert, and the room that it wants.
inline constexpr int KLTconvertDigitsMax = 20;
inline constexpr int KLTconvertSize = 24;

// Writes the decimal digits of value, at least one, without a NUL, to buffer, which has room
// for KLTconvertSize characters, and their number to *length.
// size 0: value is signed; *negative tells whether it is below 0, and the digits are those
// of its magnitude. size 1..8: value is unsigned and that many bytes wide, bytes above are
// ignored; *negative is false.
void KLFconvert(long long value, char* buffer, int size, bool* negative, int* length);

// The lowest `size` bytes of a value, 1..8, the others 0.
constexpr uint64_t KLFlowBytes(uint64_t value, int size) {
    return size >= 8 ? value : value & ((uint64_t{1} << size * 8) - 1);
}
