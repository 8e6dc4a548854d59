#include "app/audio_test.h"

#include "baselib/print/astrs.h"
#include "baselib/print/nstream.h"

#include <cmath>

namespace {

// What the test is at, or what ended it.
enum State {
    noCpld = -5,
    noStreamSettings = -2,
    noMixerOrStream = -1,
    notStarted = 0,
    silence = 1,
    loopback = 3,
    gain = 4,
    finishing = 5,
    passed = 99,
};

// The texts are shifted against their causes: what can't be opened is called a mixer error,
// what can't be configured an open error. Those of bare numbers belong to states that no test
// enters.
struct StateText {
    int state;
    const char* text;
};
constexpr StateText stateTexts[] = {
    {noCpld, "Motherboard CPLD not detected"},
    {-4, "Quiet test error"},
    {-3, "ALSA PCM init error"},
    {noStreamSettings, "ALSA PCM open error"},
    {noMixerOrStream, "ALSA mixer error"},
    {notStarted, "Not running"},
    {silence, "Silence/DC"},
    {2, "????"},
    {loopback, "Voltages, loopback"},
    {gain, "Loop gain"},
    {finishing, "THD+N test"},
};

constexpr double lineGain_db = 0.0; // from output to input
constexpr double microphoneGain_db = -6.740000000000002;

constexpr int playChannelsAes = 6;
constexpr int playChannelsOther = 4;
constexpr int latencyAes_ms = 100;
constexpr int latencyOther_ms = 200;

constexpr AudioLoop::Manner loopbackManner = {1000, 1200, 50'000, "Playout restart!\r", nullptr};
constexpr AudioLoop::Manner gainManner = {2000, 2200, 20'000,
                                          "!!!!! UNDERRUN - Playout restart !!!!!\r",
                                          "!!!!! UNDERRUN - Recorder restart !!!!!\r"};

constexpr double loopbackTone_hz = 1000.0;
constexpr int settlingCycles = 5;

constexpr double sweep_hz[] = {25.0, 100.0, 500.0, 1000.0, 5000.0, 12000.0, 19000.0};
constexpr int goodSweepsNeeded = 4;
constexpr size_t toleranceResult = 2; // before it come the deviations of the inputs

constexpr int input1 = 1; // masks
constexpr int input2 = 2;

constexpr int shortWidth = 7; // columns
constexpr int longWidth = 8;
constexpr int frequencyWidth = 5;

const char* textOf(int state) {
    for (const StateText& known : stateTexts)
        if (known.state == state) return known.text;
    return "OK";
}

// The number of results that belong to a text.
size_t resultsShown(int state) {
    if (state == silence) return SilenceJudge::Margins().size();
    return state == gain ? audioInputs : 0;
}

template <class Value>
void printEach(KLTprint& print, const AudioLevels& levels, Value value) {
    for (const KLTalsaAinfo& input : levels)
        print << KLNstream::dblw(shortWidth, 1, 'f') << KLTalsaAinfo::dB(value(input));
}

} // namespace

// How far the search for silence and loopback is.
struct K4STaudio::LoopbackSearch {
    SilenceJudge silence;
    LoopbackJudge loopback;
    bool phantomAtFirst = false; // the signal to the operator
};

void K4STaudio::init() {
    setState(notStarted);
    clearErr();
}

void K4STaudio::clearErr() {
    for (size_t i = 0; i < resultCount; ++i)
        setResult(i, 0.0);
}

KLTastr K4STaudio::info() {
    const int state = state_.load(relaxed);
    KLTastrs text;
    text << textOf(state);
    if (state == gain && !micBoost_) text << " (line)";
    for (size_t i = 0; i < resultsShown(state); ++i)
        text << ' ' << KLNstream::dbl(1, 'f') << result(i);
    if (state == gain) text << " (" << result(toleranceResult) << ')';
    return text;
}

void K4STaudio::prepare() {
    clearErr();
    setState(silence);
}

// Without a handler an exception would end the process where it is thrown; with one it
// unwinds the stack first, which makes the inputs safe.
void K4STaudio::tfunc() {
    try {
        test();
    } catch (...) {
        throw;
    }
}

void K4STaudio::setState(int state) { state_.store(state, relaxed); }

void K4STaudio::setResult(size_t index, double value_db) {
    results_db_[index].store(value_db, relaxed);
}

double K4STaudio::result(size_t index) const { return results_db_[index].load(relaxed); }

void K4STaudio::test() {
    if (!inputs_.detect()) return setState(noCpld);
    console_ << "AES/EBU hardware detected: " << inputs_.aesHardware() << KLNstream::cr;
    AudioStreams streams;
    if (measure(streams)) setState(passed);
}

// True when everything is good.
bool K4STaudio::measure(AudioStreams& streams) {
    const AudioInputsGuard guard(inputs_);
    if (!inputs_.openMixer()) {
        setState(noMixerOrStream);
        return false;
    }
    selectInput();
    if (!openStreams(streams)) return false;
    setMicPhant(false, AudioInputs::both);
    double phase = 0;
    if (!findLoopback(streams, phase) || !testGain(streams, phase)) return false;
    setState(finishing);
    return true;
}

void K4STaudio::selectInput() {
    inputs_.select(micBoost_);
    loopGain_db_ = micBoost_ ? microphoneGain_db : lineGain_db;
    if (micBoost_)
        console_ << "Microphone input level selected, loop gain = " << loopGain_db_ << " dB";
    else
        console_ << "Line input level selected.";
    console_ << KLNstream::cr;
}

bool K4STaudio::openStreams(AudioStreams& streams) {
    if (!streams.open()) {
        setState(noMixerOrStream);
        return false;
    }
    const int latency_ms = inputs_.aesHardware() ? latencyAes_ms : latencyOther_ms;
    if (streams.configure(playChannels(), latency_ms)) return true;
    setState(noStreamSettings);
    return false;
}

// Without memory for its buffers the loop can't run, and the test is over.
bool K4STaudio::isReady(const AudioLoop& loop) {
    if (loop.hasMemory()) return true;
    setState(noStreamSettings);
    return false;
}

int K4STaudio::playChannels() const {
    return inputs_.aesHardware() ? playChannelsAes : playChannelsOther;
}

// True when silence was good and then the tone came back. False when asked to stop.
bool K4STaudio::findLoopback(AudioStreams& streams, double& phase) {
    AudioLoop loop(streams, playChannels(), loopbackManner, console_);
    if (!isReady(loop)) return false;
    LoopbackSearch search{SilenceJudge(), LoopbackJudge(loopGain_db_)};
    for (int cycle = 0;; ++cycle) {
        loop.fill(loopbackTone_hz, audioLevels::loopTone_db, phase);
        if (!loop.run(*this)) return false;
        const AudioLevels levels = loop.takeLevels();
        if (cycle >= settlingCycles && judgeCycle(search, levels)) return true;
    }
}

// True when there is loopback.
bool K4STaudio::judgeCycle(LoopbackSearch& search, const AudioLevels& levels) {
    if (state_.load(relaxed) == loopback) return judgeLoopback(search, levels);
    judgeSilence(search, levels);
    return false;
}

void K4STaudio::judgeSilence(LoopbackSearch& search, const AudioLevels& levels) {
    printSilence(levels);
    const SilenceJudge::Margins margins = SilenceJudge::margins(levels);
    for (size_t i = 0; i < margins.size(); ++i)
        setResult(i, margins[i]);
    if (!search.silence.accept(margins)) return;
    clearErr();
    setState(loopback);
    console_ << "Check for loopback audio" << KLNstream::cr;
    console_ << "Nominal input swing = " << search.loopback.nominalSwing_db() << " dB"
             << KLNstream::cr;
}

void K4STaudio::printSilence(const AudioLevels& levels) {
    console_ << "Silence: RMS=";
    printEach(console_, levels, [](const KLTalsaAinfo& input) { return input.rms; });
    console_ << ", Swing=";
    printEach(console_, levels, [](const KLTalsaAinfo& input) { return input.swing; });
    console_ << ", DC=";
    printEach(console_, levels, [](const KLTalsaAinfo& input) { return std::fabs(input.dc); });
    console_ << KLNstream::cr;
}

// While the tone is missing the phantom power goes from one input to the other, from the first
// on, which the operator sees at the plugs.
bool K4STaudio::judgeLoopback(LoopbackSearch& search, const AudioLevels& levels) {
    const LoopbackJudge::Result result = search.loopback.accept(levels);
    if (result == LoopbackJudge::Result::absent) {
        const bool former = search.phantomAtFirst;
        search.phantomAtFirst = !former;
        setMicPhant(!former, input1);
        setMicPhant(former, input2);
    }
    return result == LoopbackJudge::Result::present;
}

// True after four good sweeps. False when asked to stop.
bool K4STaudio::testGain(AudioStreams& streams, double& phase) {
    setResult(toleranceResult, audioLevels::tolerance_db);
    setState(gain);
    console_ << "Analyze loopback audio" << KLNstream::cr;
    AudioLoop loop(streams, playChannels(), gainManner, console_);
    if (!isReady(loop)) return false;
    const GainJudge judge(loopGain_db_);
    printExpected(judge);
    setMicPhant(false, AudioInputs::both);
    for (int goodSweeps = 0; goodSweeps < goodSweepsNeeded;) {
        const Sweep sweep = runSweep(loop, judge, phase);
        if (sweep == Sweep::stopped) return false;
        if (sweep == Sweep::good) ++goodSweeps;
    }
    return true;
}

void K4STaudio::printExpected(const GainJudge& judge) {
    console_ << "Output swing " << audioLevels::sweepTone_db << " dB = RMS "
             << audioLevels::sweepTone_db + audioLevels::sineRms_db << " dB" << KLNstream::cr;
    console_ << "Expected input RMS = " << judge.expected_db() << " dB (" << judge.lowest_db()
             << " .. " << judge.highest_db() << ')' << KLNstream::cr;
}

K4STaudio::Sweep K4STaudio::runSweep(AudioLoop& loop, const GainJudge& judge, double& phase) {
    bool good = true;
    for (const double frequency_hz : sweep_hz) {
        loop.fill(frequency_hz, audioLevels::sweepTone_db, phase);
        if (!loop.run(*this)) return Sweep::stopped;
        good &= judgeFrequency(judge, frequency_hz, loop.takeLevels());
    }
    return good ? Sweep::good : Sweep::bad;
}

bool K4STaudio::judgeFrequency(const GainJudge& judge, double frequency_hz,
                               const AudioLevels& levels) {
    console_ << KLNstream::width(frequencyWidth) << frequency_hz
             << " Hz RMSdc expect = " << judge.expected_db() << ": RMSdc =";
    std::array<bool, audioInputs> good{};
    for (size_t input = 0; input < good.size(); ++input) {
        const double level_db = KLTalsaAinfo::dB(levels[input].rms);
        setResult(input, level_db - judge.expected_db());
        good[input] = judge.isGood(level_db);
        console_ << "  " << KLNstream::dblw(longWidth, 2, 'f') << level_db;
    }
    for (const bool inputGood : good)
        console_ << (inputGood ? "   OK" : "  BAD");
    console_ << KLNstream::cr;
    return good[0] && good[1];
}
