#pragma once

// Writes a picture as an uncompressed 24-bit BMP file.
//
// pixels: width x height colours 0x00RRGGBB, row after row from the top. The file appears
// under its name, replacing an older one, only when it is complete; after a failure
// nothing is left behind, and an older file is untouched.
//
// Returns 0, or one of the negative codes below.
[[nodiscard]] int KLFwriteBmp(const char* path, int width, int height, const unsigned int* pixels);

// Width or height is not within 1..16384.
constexpr int KLFbmpErrorSize = -6801;

// The file could not be created, written or given its name; errno tells why.
constexpr int KLFbmpErrorFile = -6802;
