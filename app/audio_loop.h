#pragma once
// Plays a tone and records what comes back.

#include "app/k4test.h"
#include "audio/pcm.h"
#include "baselib/print/print.h"

#include <array>

inline constexpr int audioInputs = 2;

// One record for each input, from what was recorded in a cycle.
using AudioLevels = std::array<KLTalsaAinfo, audioInputs>;

// The two directions of the analog audio device. Both close with the object.
struct AudioStreams {
    static constexpr int rate_hz = 48'000;

    KLTalsaPCMplay play;
    KLTalsaPCMreco record;

    // True on success of both.
    [[nodiscard]] bool open();
    [[nodiscard]] bool configure(int playChannels, int latency_ms);
};

// The buffers of one phase of the test, and how its cycles run. A cycle queues one buffer of
// tone for playing and records meanwhile.
class AudioLoop {
public:
    struct Manner {
        int play_ms; // buffer sizes
        int record_ms;
        long long pause_us;        // between two looks at the streams
        const char* playUnderrun;  // console lines
        const char* recordOverrun; // null: not looked at
    };

    // The streams, the manner and the console must outlive the object.
    AudioLoop(AudioStreams& streams, int playChannels, const Manner& manner, KLTprint& console);

    // There was memory for the buffers. Without it there is nothing to run.
    bool hasMemory() const { return tone_.frames() > 0 && recording_.frames() > 0; }

    // The next cycle: a tone of that peak level on all channels. phase: of the tone, carried
    // from cycle to cycle, so that it is continuous.
    void fill(double frequency_hz, double level_db, double& phase);

    // Runs the cycle, for about the length of the buffer. After an underrun playing goes on;
    // any other error of the playback ends the cycle, one pause later. False when the unit was
    // asked to stop. Cancellation points are the pauses only.
    bool run(const K4test& unit);

    // Analyses what was recorded, and readies the buffer for the next cycle.
    AudioLevels takeLevels();

private:
    int transfer();
    int play();
    void record();

    AudioStreams& streams_;
    const Manner& manner_;
    KLTprint& console_;
    KLTalsaBuf16 tone_;
    KLTalsaBuf16 recording_;
};
