#pragma once
// Unit of the analog audio path.

#include "app/unit.h"

class K4STaudio : public K4unit<K4STaudio> {
public:
    // micBoost: the microphone boost may be switched on.
    explicit K4STaudio(bool micBoost) : micBoost_(micBoost) {}
    ~K4STaudio() { end(); }

    // Before the first start.
    void init() {}

    bool micBoost() const { return micBoost_; }

    // "Not running".
    KLTastr info() override;

    // Returns at once: no test is made, and nothing passes.
    void tfunc() {}

private:
    const bool micBoost_;
};
