#include "audio/kestra_alsactl.h"

namespace {

constexpr const char* card = "hw:0,1";

constexpr const char* receiverStatusName = "IEC958 Capture RXP Status";
constexpr const char* receivedChannelStatus = "IEC958 Capture RXC Channel";
constexpr const char* receiverLockChange = "IEC958 Capture RXP Lock Change";
constexpr const char* receiverSwitch = "IEC958 Capture RXP Processing State";
constexpr const char* defaultChannelStatus = "IEC958 Playback Default";
constexpr const char* transmitterSwitch = "IEC958 Playback TXC State";
constexpr const char* transmitterRate = "IEC958 Playback TXC SPdif";
constexpr const char* sentChannelStatus = "IEC958 Playback TXC Channel";

constexpr int success = 0;
constexpr int failure = -1;

constexpr int lockedBit = 0x01; // of the receiver status
constexpr int measuredMask = 0x0E;

constexpr unsigned char professionalBit = 0x01; // of byte 0 of the channel status
constexpr unsigned char professionalRateMask = 0xC0;
constexpr size_t consumerRateByte = 3;
constexpr unsigned char consumerRateMask = 0x0F;

struct ClockCode {
    int rate_hz;
    int receiver;    // measured, in the receiver status
    int transmitter; // in the transmitter's rate code
};
constexpr ClockCode clockCodes[] = {
    {0, 0x0E, 0x00},     {32000, 0x0C, 0x14}, {44100, 0x0A, 0x80},
    {48000, 0x08, 0x00}, {88200, 0x06, 0x90}, {96000, 0x04, 0x10},
};

struct StatusCode {
    int rate_hz;
    unsigned char professional; // in byte 0
    unsigned char consumer;     // in byte 3
};
constexpr StatusCode statusCodes[] = {{48000, 0x80, 2}, {44100, 0x40, 0}, {32000, 0xC0, 3}};

void decodeMeasured(int status, int& rate_hz) {
    for (const ClockCode& code : clockCodes)
        if (code.receiver == (status & measuredMask)) rate_hz = code.rate_hz;
}

int transmitterCode(int rate_hz) {
    for (const ClockCode& code : clockCodes)
        if (code.rate_hz == rate_hz) return code.transmitter;
    return 0;
}

void decodeStatus(const KLTctlRecord& status, int& rate_hz, bool& professional) {
    professional = (status.bytes[0] & professionalBit) != 0;
    const int professionalRate = status.bytes[0] & professionalRateMask;
    const int consumerRate = status.bytes[consumerRateByte] & consumerRateMask;
    for (const StatusCode& code : statusCodes)
        if (professional ? code.professional == professionalRate : code.consumer == consumerRate)
            rate_hz = code.rate_hz;
}

unsigned char professionalStatus(int rate_hz) {
    for (const StatusCode& code : statusCodes)
        if (code.rate_hz == rate_hz) return code.professional | professionalBit;
    return professionalBit;
}

} // namespace

int KLkestraALSActl::get(int& measuredRate, int& statusRate, bool& professional, bool& locked) {
    if (open(card) != 0) return failure;
    const int status = receiverStatus();
    decodeMeasured(status, measuredRate);
    locked = (status & lockedBit) != 0;
    KLTctlRecord channelStatus;
    if (get(channelStatus, receivedChannelStatus, KLTctlKind::bytes) == 0)
        decodeStatus(channelStatus, statusRate, professional);
    close();
    return success;
}

int KLkestraALSActl::lock(bool& locked) {
    const int error = open(card);
    if (error == 0) locked = (receiverStatus() & lockedBit) != 0;
    close();
    return error == 0 ? success : failure;
}

int KLkestraALSActl::lock_change(unsigned int& value, bool reset) {
    if (open(card) != 0) return failure;
    KLTctlRecord record;
    get(record, receiverLockChange, KLTctlKind::integers);
    value = static_cast<unsigned int>(record.integer(0));
    if (reset) set(record, receiverLockChange, KLTctlKind::integers, anyIndex);
    close();
    return success;
}

int KLkestraALSActl::set(int statusRate, int clockRate, bool flag) {
    if (open(card) != 0) return failure;
    if (!flag && statusRate == 0) return failure;
    const int result = program(statusRate, clockRate, flag);
    close();
    return result;
}

int KLkestraALSActl::init() {
    if (switchOn() == success) return success;
    close();
    return failure;
}

int KLkestraALSActl::receiverStatus() {
    KLTctlRecord record;
    get(record, receiverStatusName, KLTctlKind::integers);
    return record.integer(0);
}

int KLkestraALSActl::program(int statusRate, int clockRate, bool flag) {
    const int result = writeByte(defaultChannelStatus, professionalBit);
    if (result != 0) return result < 0 ? failure : success;
    if (clockRate == 0) decodeMeasured(receiverStatus(), clockRate);
    const int code = transmitterCode(clockRate) | static_cast<int>(flag);
    if (switchOn() != success || writeInteger(transmitterRate, code) != 0) return failure;
    return writeByte(sentChannelStatus, professionalStatus(statusRate)) < 0 ? failure : success;
}

int KLkestraALSActl::switchOn() {
    const bool on = writeInteger(transmitterSwitch, 1) == 0 && writeInteger(receiverSwitch, 1) == 0;
    return on ? success : failure;
}

int KLkestraALSActl::writeInteger(const char* name, int value) {
    KLTctlRecord record;
    record.integer(0, value);
    return set(record, name, KLTctlKind::integers, anyIndex);
}

int KLkestraALSActl::writeByte(const char* name, unsigned char value) {
    KLTctlRecord record;
    record.kind = KLTctlKind::bytes;
    record.bytes[0] = value;
    return set(record, name, KLTctlKind::bytes, anyIndex);
}
