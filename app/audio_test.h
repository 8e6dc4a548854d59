#pragma once
// Unit of the analog audio path.

#include "app/audio_inputs.h"
#include "app/audio_judge.h"
#include "app/unit.h"

// Plays tones on the analog outputs and judges what the two inputs record. In this order:
// eight silent cycles of a second in a row, with the loopback cable unplugged; the tone, once
// the operator has plugged the cable, which "Check for loopback audio" on the console asks for
// (meanwhile the phantom power alternates between the inputs, as a signal); four sweeps over
// seven frequencies at the expected level, not necessarily in a row. Then it has passed. Without
// a time limit.
//
// However the test ends, also cancelled or by an exception, phantom power and microphone boost
// of both inputs are switched off and the input level is nominal. An exception goes on then,
// and ends the process.
class K4STaudio : public K4unit<K4STaudio> {
public:
    // micBoost: the inputs are tested at microphone level, with boost; else at line level.
    explicit K4STaudio(bool micBoost) : micBoost_(micBoost) {}
    // Before the first start.
    void init();
    // Zeroes the results in the text.
    void clearErr();

    // "Not running"; "Silence/DC" and the margins in dB (see SilenceJudge), which must all be 0
    // or less; "Voltages, loopback"; "Loop gain", at line level " (line)", with the deviations
    // of both inputs and the tolerance in dB; "THD+N test", though there is none, in the short
    // moment before "OK".
    //
    // What ended the test: "Motherboard CPLD not detected" (no access to the ports, or no known
    // CPLD), "ALSA mixer error" (the mixer or a stream can't be opened), "ALSA PCM open error"
    // (a stream can't be configured, or there is no memory for its buffer).
    KLTastr info() override;

    // Phantom power and microphone boost of input 1 (bit 0 of mask) and 2 (bit 1); see
    // AudioInputs. By the test, and while none runs.
    int setMicPhant(bool on, int mask) { return inputs_.setPhantom(on, mask); }
    int setMicBoost(bool on, int mask) { return inputs_.setBoost(on, mask); }

    void prepare();
    void tfunc();

private:
    struct LoopbackSearch;
    enum class Sweep { stopped, bad, good };

    void setState(int state);
    void setResult(size_t index, double value_db);
    double result(size_t index) const;

    void test();
    bool measure(AudioStreams& streams);
    void selectInput();
    bool openStreams(AudioStreams& streams);
    bool isReady(const AudioLoop& loop);
    int playChannels() const;

    bool findLoopback(AudioStreams& streams, double& phase);
    bool judgeCycle(LoopbackSearch& search, const AudioLevels& levels);
    void judgeSilence(LoopbackSearch& search, const AudioLevels& levels);
    void printSilence(const AudioLevels& levels);
    bool judgeLoopback(LoopbackSearch& search, const AudioLevels& levels);

    bool testGain(AudioStreams& streams, double& phase);
    void printExpected(const GainJudge& judge);
    Sweep runSweep(AudioLoop& loop, const GainJudge& judge, double& phase);
    bool judgeFrequency(const GainJudge& judge, double frequency_hz, const AudioLevels& levels);

    static constexpr size_t resultCount = 4;

    const bool micBoost_;
    std::atomic<int> state_{0};
    std::array<std::atomic<double>, resultCount> results_db_{};

    // Of tfunc:
    AudioInputs inputs_;
    double loopGain_db_ = 0;
};
