#include "hw/i2c_indirect.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "baselib/time/clock.h"
#include "hw/lagged_fibonacci.h"

namespace {

std::vector<std::uint8_t> randomBytes(int count) {
    LaggedFibonacci generator;
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(count));
    std::generate(bytes.begin(), bytes.end(),
                  [&] { return static_cast<std::uint8_t>(generator.next()); });
    return bytes;
}

} // namespace

constinit KLTi2cDummy KLTi2cIndirect::cliDummy;
constinit KLTi2cLogDummy KLTi2cIndirect::logDummy;

KLTi2cBase2* KLTi2cIndirect::setClient(KLTi2cBase2* newClient) {
    client = newClient ? newClient : &cliDummy;
    return client;
}

KLTi2cLogBase* KLTi2cIndirect::setLogger(KLTi2cLogBase* newLogger) {
    logger = newLogger ? newLogger : &logDummy;
    return logger;
}

void KLTi2cIndirect::putI2C(int scl, int sda) {
    client->putI2C(scl, sda);
    if (isLogging()) logger->logOutput(scl, sda);
}

int KLTi2cIndirect::getI2C(bool ack) {
    const int value = client->getI2C(ack);
    if (isLogging()) logger->logInput(value, ack);
    if (value != 0 && ack) ++missingAcks;
    return value;
}

void KLTi2cIndirect::waitI2C() {
    client->waitI2C();
    ++waits;
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
