#pragma once
// Sines for the sample buffers, much faster than one call of sin() a frame.

#include <array>

// sin(i * step + phase) for frame numbers i, a block at a time.
//
// By the addition theorem, from one sin() and cos() of the angle at the start of the block
// and tables of those of the angles within it. Nothing is carried from block to block, so no
// error adds up: every value is right to some 1e-15, and to what the angle itself loses as a
// double, 1e-16 of it.
class KLTalsaSine {
public:
    static constexpr int blockFrames = 256;
    using Block = std::array<double, blockFrames>;

    // Angles in radians; both must be finite, and every angle asked for.
    KLTalsaSine(double step, double phase);

    // Frames first to first + blockFrames - 1; every value is within -1..1.
    void read(int first, Block& values) const;

private:
    double step_;
    double phase_;
    Block sine_; // of 0, step, 2 * step, ...
    Block cosine_;
};
