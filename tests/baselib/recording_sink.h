#pragma once
// A sink that keeps what it is given.

#include "baselib/print/out.h"

#include <string>
#include <utility>

class RecordingSink : public KLTout {
public:
    int ochar(int c) override {
        text += static_cast<char>(c);
        return 1;
    }
    int ofull() override { return 0; }
    std::string take() { return std::exchange(text, {}); }

    std::string text;
};

// Also tells when it was flushed and locked: "<", ">" for the lock, "f", "F" for a flush of
// the sink and of all.
class TracingSink : public RecordingSink {
public:
    void olock() override { text += '<'; }
    void orelease() override { text += '>'; }
    void oflush(bool all) override { text += all ? 'F' : 'f'; }
};
