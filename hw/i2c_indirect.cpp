#include "hw/i2c_indirect.h"

#include "baselib/time/clock.h"
#include "hw/lagged_fibonacci.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace {

std::vector<std::uint8_t> randomBytes(int count) {
    LaggedFibonacci generator;
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(count));
    std::generate(bytes.begin(), bytes.end(),
                  [&] { return static_cast<std::uint8_t>(generator.next()); });
    return bytes;
}

} // namespace

constinit KLTi2cDummy KLTi2cIndirect::cliDummy_;
constinit KLTi2cLogDummy KLTi2cIndirect::logDummy_;

KLTi2cBase2* KLTi2cIndirect::setClient(KLTi2cBase2* newClient) {
    client_ = newClient ? newClient : &cliDummy_;
    return client_;
}

KLTi2cLogBase* KLTi2cIndirect::setLogger(KLTi2cLogBase* newLogger) {
    logger_ = newLogger ? newLogger : &logDummy_;
    return logger_;
}

void KLTi2cIndirect::putI2C(int scl, int sda) {
    client_->putI2C(scl, sda);
    if (isLogging()) logger_->logOutput(scl, sda);
}

int KLTi2cIndirect::getI2C(bool ack) {
    const int value = client_->getI2C(ack);
    if (isLogging()) logger_->logInput(value, ack);
    if (value != 0 && ack) ++missingAcks_;
    return value;
}

void KLTi2cIndirect::waitI2C() {
    client_->waitI2C();
    ++waits_;
}

int KLTi2cIndirect::pumpOut(int addr, int len, int count, long long& elapsed) {
    if (len < 1 || count < 1) return 0;
    const std::vector<std::uint8_t> bytes = randomBytes(len);
    const long long start = KLFnow();
    int result = 0;
    for (int i = 0; i < count && result == 0; ++i)
        result = writeBlock(addr, bytes.data(), len);
    elapsed = KLFnow() - start;
    return result;
}
