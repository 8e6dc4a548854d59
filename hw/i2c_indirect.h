#pragma once

#include "hw/i2c.h"

// Hears every line operation of a KLTi2cIndirect, after it was done.
class KLTi2cLogBase {
public:
    virtual ~KLTi2cLogBase() = default;

    // Both lines were set.
    virtual void logOutput(int scl, int sda) = 0;

    // SDA was read; `ack` when the bit is an acknowledge.
    virtual void logInput(int value, bool ack) = 0;
};

class KLTi2cLogDummy : public KLTi2cLogBase {
public:
    void logOutput(int, int) override {}
    void logInput(int, bool) override {}
};

// An I2C master over the lines of another one, its client: for logging a bus, counting what
// happens on it, and loading it. Client and logger are not owned.
class KLTi2cIndirect : public KLTi2cBase2 {
public:
    // Stores the client or the logger; with null, the shared one that does nothing, as at
    // the start. Returns what is stored.
    KLTi2cBase2* setClient(KLTi2cBase2* newClient);
    KLTi2cLogBase* setLogger(KLTi2cLogBase* newLogger);

    void putI2C(int scl, int sda) override;
    int getI2C(bool ack) override;
    void waitI2C() override;

    // Half-period waits, and missing acknowledges, since construction.
    int waitCount() const { return waits_; }
    int noAckCount() const { return missingAcks_; }

    // Loads the bus: writes a block of `len` random bytes, the same in every call, `count`
    // times to an address, and stops at the first failure. The bytes are the low 8 bits of
    // the words of LaggedFibonacci. Stores the time that it took, in microseconds.
    //
    // Returns 0 or the code of writeBlock. With len or count below 1 it returns 0 at once
    // and leaves `elapsed` alone.
    int pumpOut(int addr, int len, int count, long long& elapsed);

private:
    static KLTi2cDummy cliDummy_;
    static KLTi2cLogDummy logDummy_;

    bool isLogging() const { return logger_ != &logDummy_; }

    KLTi2cLogBase* logger_ = &logDummy_;
    KLTi2cBase2* client_ = &cliDummy_;
    int waits_ = 0;
    int missingAcks_ = 0;
};
