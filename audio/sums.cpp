#include "audio/sums.h"

#include <algorithm>
#include <array>
#include <cstddef>

#if defined(__i386__) || defined(__x86_64__)
#include <emmintrin.h>
#define K4_HAS_SSE2_CODE 1
#endif

namespace {

// So many samples of 16 bits never add up to more than 32 bits hold.
constexpr int samplesAtOnce = 65535;

template <class Sample>
void note(int sample, KLTalsaSums<Sample>& sums) {
    constexpr int highest = KLTalsaSums<Sample>::highest;
    sums.min = std::min(sums.min, sample);
    sums.max = std::max(sums.max, sample);
    sums.fullScale += sample >= highest || sample <= -highest;
}

// A sum of 32 bits takes half the instructions of one of 64.
void addBlock(const int16_t* samples, int channels, int count, KLTalsaSums<int16_t>& sums) {
    KLTalsaSums<int16_t> noted = sums; // kept in registers
    int32_t sum = 0;
    for (; count > 0; --count, samples += channels) {
        const int sample = *samples;
        note(sample, noted);
        sum += sample;
        noted.squares += static_cast<uint32_t>(sample * sample);
    }
    noted.sum += sum;
    sums = noted;
}

void addFrames(const int16_t* samples, int count, KLTalsaSums<int16_t> (&sums)[2]) {
    KLFaddChannel(samples, 2, count, sums[0]);
    KLFaddChannel(samples + 1, 2, count, sums[1]);
}

#ifdef K4_HAS_SSE2_CODE

constexpr int framesInVector = 4;
constexpr int vectorsAtOnce = 16384; // counts of 16 bits hold twice as many, sums of 32 four times

template <class Lane>
using LanesSse2 = std::array<Lane, 16 / sizeof(Lane)>;

template <class Lane>
[[gnu::target("sse2")]] LanesSse2<Lane> lanesSse2(__m128i vector) {
    LanesSse2<Lane> lanes;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(lanes.data()), vector);
    return lanes;
}

// The sums of one of two channels: its samples are every other one.
template <int channel>
[[gnu::target("sse2")]] void addChannelSse2(const int16_t* samples, int vectors,
                                            KLTalsaSums<int16_t>& sums) {
    constexpr int16_t highest = KLTalsaSums<int16_t>::highest;
    constexpr int shift = 16 * channel;
    const __m128i zero = _mm_setzero_si128();
    const __m128i others = _mm_set1_epi32(static_cast<int>(0xFFFF0000U >> shift));
    const __m128i one = _mm_set1_epi32(1 << shift);
    const __m128i belowHighest = _mm_set1_epi16(highest - 1);
    const __m128i aboveLowest = _mm_set1_epi16(-highest + 1);
    __m128i min = _mm_set1_epi16(highest), max = _mm_set1_epi16(-highest);
    __m128i fullScale = zero, sum = zero, squares = zero;
    for (const int16_t* const end = samples + vectors * 8; samples != end; samples += 8) {
        const __m128i both = _mm_loadu_si128(reinterpret_cast<const __m128i*>(samples));
        const __m128i own = _mm_andnot_si128(others, both);
        min = _mm_min_epi16(min, both);
        max = _mm_max_epi16(max, both);
        // What compares as true is -1.
        fullScale = _mm_sub_epi16(fullScale, _mm_cmpgt_epi16(both, belowHighest));
        fullScale = _mm_sub_epi16(fullScale, _mm_cmplt_epi16(both, aboveLowest));
        sum = _mm_add_epi32(sum, _mm_madd_epi16(both, one));
        const __m128i square = _mm_madd_epi16(own, own);
        squares = _mm_add_epi64(squares, _mm_unpacklo_epi32(square, zero));
        squares = _mm_add_epi64(squares, _mm_unpackhi_epi32(square, zero));
    }
    const auto mins = lanesSse2<int16_t>(min);
    const auto maxs = lanesSse2<int16_t>(max);
    const auto fullScales = lanesSse2<int16_t>(fullScale);
    for (std::size_t lane = channel; lane < mins.size(); lane += 2) {
        sums.min = std::min<int>(sums.min, mins[lane]);
        sums.max = std::max<int>(sums.max, maxs[lane]);
        sums.fullScale += fullScales[lane];
    }
    for (const int32_t lane : lanesSse2<int32_t>(sum))
        sums.sum += lane;
    for (const int64_t lane : lanesSse2<int64_t>(squares))
        sums.squares += lane;
}

#endif

} // namespace

void KLFaddChannel(const int16_t* samples, int channels, int count, KLTalsaSums<int16_t>& sums) {
    while (count > 0) {
        const int now = std::min(count, samplesAtOnce);
        addBlock(samples, channels, now, sums);
        samples += std::ptrdiff_t{now} * channels;
        count -= now;
    }
}

void KLFaddChannel(const int32_t* samples, int channels, int count, KLTalsaSums<int32_t>& sums) {
    for (; count > 0; --count, samples += channels) {
        const int sample = *samples;
        note(sample, sums);
        sums.sum += sample;
        sums.squares += static_cast<double>(sample) * sample;
    }
}

void KLFaddPair(const int16_t* samples, int count, KLTalsaSums<int16_t> (&sums)[2]) {
#ifdef K4_HAS_SSE2_CODE
    if (__builtin_cpu_supports("sse2"))
        while (count >= framesInVector) {
            const int vectors = std::min(count / framesInVector, vectorsAtOnce);
            addChannelSse2<0>(samples, vectors, sums[0]);
            addChannelSse2<1>(samples, vectors, sums[1]);
            samples += vectors * framesInVector * 2;
            count -= vectors * framesInVector;
        }
#endif
    addFrames(samples, count, sums);
}
