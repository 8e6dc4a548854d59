#pragma once
// Unit of the AES/EBU interface.

#include "app/unit.h"
#include "audio/kestra_alsactl.h"
#include "audio/pcm_line.h"
#include "baselib/thread/mutex.h"

// With the digital output cabled to the digital input: the transmitter runs at 32000, 44100 and
// 48000 Hz in turn, and each time the receiver must lock and tell that very rate, measured and
// by the channel status, for 5 s on end. Before that it must be without lock for 5 s: the
// operator plugs the cable when the text asks for 'LOCK'.
//
// Prints "Lost lock" when a good condition ends early. Without a time limit.
class K4STaesebu : public K4unit<K4STaesebu> {
public:
    // Empty until the test has begun; then "Wait for cable unplugged", "Wait for 32000 Hz
    // 'LOCK'" (44100, 48000), "OK", or what ended the test: "Cannot open 'hw:0,1' capture",
    // "Cannot open 'hw:0,1' playback", "SR config error -1", "Cannot get AES lock status",
    // "Cannot get AES stream info".
    KLTastr info() override;

    // A test that can't open the playback or program the transmitter ends with the lines that
    // it has opened left open; they are closed by the next start or with the unit.
    void tfunc();

private:
    static constexpr int stepUnplugged = 0; // then one step for each rate
    static constexpr int stepPassed = 4;

    bool begin();
    bool openLine(KLTalsaPCMline& line, KLTalsaPCMline::Direction direction, const char* failure);
    int selectRate(int rate_hz);
    bool goOn();
    bool watchUnplugged();
    bool watchRate();
    void loseLock();
    bool hasLasted();
    void nextStep();
    void show(const KLTastrc& text);

    KLTptmutex mutex_; // guards result_
    KLTastr result_;

    // Of tfunc:
    KLTalsaPCMline capture_;
    KLTalsaPCMline playback_;
    KLkestraALSActl control_;
    int step_ = stepUnplugged;
    long long deadline_us_ = 0; // on the clock of KLFnow; 0 = the condition does not hold
};
