#pragma once

// Positions, extents and areas in display pixels; x grows to the right, y downwards.
// Every value of int is allowed: sums are formed in 64 bits, so that an area far
// outside the display, or larger than int can express, clips correctly.

struct GRCpoint {
    int x = 0;
    int y = 0;
};

// An extent. Zero or less in either direction is an empty extent.
struct GRCsize {
    int width = 0;
    int height = 0;
};

inline bool operator==(GRCsize a, GRCsize b) { return a.width == b.width && a.height == b.height; }

// The pixels from the position (included) to position + extent (excluded).
struct GRCrect {
    GRCpoint position;
    GRCsize extent;

    long long right() const { return static_cast<long long>(position.x) + extent.width; }
    long long bottom() const { return static_cast<long long>(position.y) + extent.height; }
    bool empty() const { return extent.width <= 0 || extent.height <= 0; }
};

// The common part of two areas; an empty area at (0, 0) when there is none.
GRCrect intersection(const GRCrect& a, const GRCrect& b);

// The smallest area that holds both. An empty area adds nothing. Both lie within the
// range of int, as areas clipped to a display do.
GRCrect bounding(const GRCrect& a, const GRCrect& b);
