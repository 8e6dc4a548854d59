#pragma once
// Unit of the parallel control port: eight lines through a loopback.

#include "app/unit.h"
#include "baselib/thread/mutex.h"

class K4parallel;

// Passes when all eight lines follow their outputs, each alone and in company, ten times in
// a row. Does not touch the lines of a mainboard CPLD that it does not know.
class K4STparallel : public K4unit<K4STparallel> {
public:
    // Before the first start.
    void init() { prepare(); }

    // "Not running"; "Bit status: " and one character a line (KLTbitTester::bitMap), none
    // before the first test of the lines is done; "CPLDerr: ID=7 VER=1" for an unknown CPLD;
    // "OK". Asked to stop early, the bit status stays.
    KLTastr info() override;

    void prepare();
    void tfunc();

private:
    enum State : int { notRunning = 0, testing = 1, cpldRejected = -1, passed = 99 };

    bool checkCpld(const K4parallel& port);

    std::atomic<int> state_{notRunning};
    KLTptmutex mutex_; // guards result_, and state_ where it tells what result_ is
    KLTastr result_;
};
