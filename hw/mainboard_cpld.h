#pragma once

#include "hw/cpld.h"

#include <cstdint>
#include <memory>

// The mainboard CPLD: finds it, picks its driver, and owns driver and front-panel link. One
// thread at a time may use it.
//
// The link may be the driver itself (see CHCPLDinterface_k4::initSerialLink). It is then
// deleted once.
class CHmainboardCPLD_K4 {
public:
    static constexpr int errorNoPrivilege = -49999;

    // The ID of the mainboard that has AES/EBU hardware.
    static constexpr std::uint8_t idWithAesebu = 2;

    CHmainboardCPLD_K4();
    ~CHmainboardCPLD_K4();

    // Looks for a known CPLD at the bases 0xD000 and 0x0A00 and makes its driver. When none
    // answers, the driver is MymainCPLD_fake, and port, id and version are those of the
    // last base. May be called again; the link stays, but where it was the old driver a
    // fake link takes its place.
    //
    // Returns 0, also without a CPLD, or errorNoPrivilege (the program does not run as
    // root); then nothing changes.
    [[nodiscard]] int detect();

    // Asks for access to the ports for the calling thread. Returns true when granted.
    bool iopl3() const;

    // Replaces the link by the one that belongs to the driver, which has then read panel
    // type and version, and returns it. The link stays owned by this object.
    CHfplinkK4* initSerialLink();

    // Where the CPLD was looked for last, and the two bytes that answered there. All 0
    // before detect().
    std::uint16_t port = 0;
    std::uint8_t id = 0;
    std::uint8_t version = 0;

    // Never null. Before detect() and initSerialLink() they are the fakes.
    std::unique_ptr<CHfplinkK4> fplink;
    std::unique_ptr<CHCPLDinterface_k4> cpld;

private:
    std::unique_ptr<CHCPLDinterface_k4> probe(std::uint16_t base);
    bool isLinkDriver() const;
    void setLink(std::unique_ptr<CHfplinkK4> link);
    void setDriver(std::unique_ptr<CHCPLDinterface_k4> driver);
};
