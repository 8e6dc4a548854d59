#pragma once

#include <cstdint>
#include <cstdio>
#include <deque>
#include <set>
#include <string>

/** The two lines of an I2C bus with one slave, decoded after the rules of the bus: SDA that
    changes while SCL is high is START or STOP, every other rise of SCL carries a bit, the
    ninth bit acknowledges, and who sends changes SDA after SCL fell.

    The transcript holds S and P for START and STOP and each byte in hex, with '+' when it
    was acknowledged, else '-': "S 78+ 10+ af+ P". A STOP or START inside a byte adds '!'. */
class I2cWire {
public:
    /** Address bytes, with the read bit, that the slave acknowledges. */
    std::set<int> acknowledged;

    /** How many data bytes of a write the slave acknowledges. */
    int writableBytes = 1000;

    /** What the slave sends when it is read; then 0xFF. */
    std::deque<std::uint8_t> answers;

    void set(int newScl, int newSda) {
        if (scl != 0 && newScl == 0) fall();
        masterSda = newSda;
        const int newLevel = level();
        if (scl != 0 && newScl != 0 && newLevel != lastLevel) newLevel != 0 ? stop() : start();
        if (scl == 0 && newScl != 0) rise(newLevel);
        scl = newScl;
        lastLevel = level();
    }

    int level() const { return masterSda & slaveSda; }
    bool isIdle() const { return scl == 1 && masterSda == 1 && slaveSda == 1; }

    /** The transcript since the last call. */
    std::string take() {
        std::string result;
        result.swap(transcript);
        return result;
    }

private:
    void start() {
        note(clocks > 1 ? "S!" : "S");
        clocks = 0;
        bytes = 0;
        isAddressed = true;
        isSending = false;
    }

    void stop() {
        note(clocks != 1 ? "P!" : "P");
        clocks = 0;
        isAddressed = false;
        isSending = false;
        slaveSda = 1;
    }

    void rise(int bit) {
        ++clocks;
        if (clocks <= 8)
            shift = (shift << 1 | bit) & 0xFF;
        else
            finishByte(bit == 0);
    }

    void finishByte(bool isAcknowledged) {
        char text[8];
        std::snprintf(text, sizeof text, "%02x%c", static_cast<unsigned int>(shift),
                      isAcknowledged ? '+' : '-');
        note(text);
        const bool wasAddress = bytes++ == 0;
        if (wasAddress) isSending = isAcknowledged && (shift & 1) != 0;
        if (!isAcknowledged) isAddressed = isSending = false;
    }

    void fall() {
        if (clocks == 9) nextByte();
        if (clocks == 8)
            slaveSda = !isSending && accepts() ? 0 : 1;
        else
            slaveSda = isSending ? outgoing >> (7 - clocks) & 1 : 1;
    }

    void nextByte() {
        clocks = 0;
        if (!isSending) return;
        outgoing = answers.empty() ? 0xFF : answers.front();
        if (!answers.empty()) answers.pop_front();
    }

    bool accepts() const {
        if (!isAddressed) return false;
        return bytes == 0 ? acknowledged.contains(shift) : bytes <= writableBytes;
    }

    void note(const std::string& entry) {
        if (!transcript.empty()) transcript += ' ';
        transcript += entry;
    }

    int scl = 1;
    int masterSda = 1;
    int slaveSda = 1;
    int lastLevel = 1;
    int clocks = 0;
    int shift = 0;
    int bytes = 0;
    int outgoing = 0xFF;
    bool isAddressed = false;
    bool isSending = false;
    std::string transcript;
};
