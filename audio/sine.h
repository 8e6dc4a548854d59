#pragma once
// Sines for the sample buffers, much faster than one call of sin() a frame.

#include <array>
#include <cmath>

// height * sin(angle(i)) + offset for frame numbers i, a block at a time.
//
// By the addition theorem, from one sin() and cos() of the angle at the start of the block
// and tables of those of the angles within it. Nothing is carried from block to block, so no
// error adds up: every value is right to some 1e-15 of the height.
class KLTalsaSine {
public:
    static constexpr int blockFrames = 256;

    // Frequency and sample rate in Hz, phase in radians; finite, and so every angle asked for.
    KLTalsaSine(double frequency, int rate, double phase);

    // phase + 2 pi * frequency * frame / rate, less whole turns of the second summand.
    double angle(int frame) const { return phase_ + advance(frame); }

    // Calls take(i, value) with the values of frames first + i for i from 0 to count - 1, at most
    // blockFrames. Here, so that nothing is stored in between.
    template <class Take>
    void read(int first, int count, double height, double offset, Take take) const;

private:
    double advance(int frame) const;

    double frequency_;
    int rate_;
    double phase_;
    std::array<double, blockFrames> sine_; // of the angles from one frame to those of the block
    std::array<double, blockFrames> cosine_;
};

template <class Take>
void KLTalsaSine::read(int first, int count, double height, double offset, Take take) const {
    const double start = angle(first);
    const double sine = height * std::sin(start);
    const double cosine = height * std::cos(start);
    for (int i = 0; i < count; ++i)
        take(i, sine * cosine_[i] + cosine * sine_[i] + offset);
}
