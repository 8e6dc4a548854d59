#include "hw/k4parallel.h"

#include "baselib/time/clock.h"

namespace {

constexpr int outputLines = 2;
constexpr int inputLines = 3;
constexpr std::uint16_t diagnosticPort = 0x80;
constexpr long long settle_us = 10'000;

} // namespace

K4parallel::K4parallel(int base) : ports_(static_cast<std::uint16_t>(base)) {
    portRequestPrivilege();
}

unsigned long K4parallel::outNin(unsigned long value) {
    const auto lines = static_cast<std::uint8_t>(value);
    ports_.out(outputLines, lines);
    portOut(diagnosticPort, lines);
    KLFdelay(settle_us);
    static_cast<void>(readReg(inputLines));
    return readReg(inputLines);
}

unsigned char K4parallel::readReg(int offset) const {
    const std::uint8_t value = ports_.in(offset);
    portOut(diagnosticPort, value);
    return value;
}
