#pragma once
// What the analysis of a sample buffer adds up, exactly.

#include <cstdint>
#include <limits>

// Of the samples of one channel. min starts at the highest sample, max at its negative; full
// scale are that, its negative, and what is beyond.
template <class Sample>
struct KLTalsaSums;

template <>
struct KLTalsaSums<int16_t> {
    static constexpr int highest = std::numeric_limits<int16_t>::max();

    int min = highest;
    int max = -highest;
    int fullScale = 0;
    int64_t sum = 0;
    int64_t squares = 0; // 2^31 of them fit
};

template <>
struct KLTalsaSums<int32_t> {
    static constexpr int highest = std::numeric_limits<int32_t>::max();

    int min = highest;
    int max = -highest;
    int fullScale = 0;
    int64_t sum = 0;
    double squares = 0; // they fit no integer
};

// Adds up one channel of `channels` in count frames, of which the first begins at samples.
void KLFaddChannel(const int16_t* samples, int channels, int count, KLTalsaSums<int16_t>& sums);
void KLFaddChannel(const int32_t* samples, int channels, int count, KLTalsaSums<int32_t>& sums);

// Adds up both channels of two, in a quarter of the time where the processor has SSE2.
void KLFaddPair(const int16_t* samples, int count, KLTalsaSums<int16_t> (&sums)[2]);
