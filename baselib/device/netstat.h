#pragma once
// Questions about a network interface of the Linux kernel, and the few things that can
// be set on it.

#include <cstdint>

// Every operation opens an IPv4 socket of its own, asks the kernel and closes it again,
// so any thread may call any operation at any time. Nothing is printed.
//
// name: the interface, such as "eth0", at most 15 characters. A longer name can't be
// that of an interface: it counts as a request that the kernel refused.
// Addresses and masks are in host order.
class KLTlinuxNetstat3 {
public:
    // linkUp() and restart()
    static constexpr int linkIsUp = 1;
    static constexpr int linkIsDown = 0;
    static constexpr int noName = -1;        // null or empty name
    static constexpr int noSocket = -2;      // no socket to be had
    static constexpr int requestFailed = -3; // restart(): -3 to -6, by the request that failed

    // ipaddrSet() and netmaskSet()
    static constexpr int setNoName = -8592;
    static constexpr int setNoSocket = -8598;
    static constexpr int setFailed = -8588;

    // Whether the interface has a link (cable, carrier): linkIsUp, linkIsDown, or an error.
    static int linkUp(const char* name);

    // IPv4 address and mask. 0 on any failure, which can't be told from the address 0.
    static std::uint32_t ipaddr(const char* name);
    static std::uint32_t netmask(const char* name);

    // Set the IPv4 address or mask (as root). 0 or one of the set... codes.
    static int ipaddrSet(const char* name, std::uint32_t address);
    static int netmaskSet(const char* name, std::uint32_t mask);

    // The six bytes of the hardware address, the first in the lowest byte; 0 on any failure.
    static std::uint64_t macAddress(const char* name);

    // Takes the interface down and up again (as root). linkIsUp when the kernel says that it
    // runs afterwards, else linkIsDown; noName, noSocket; -3 flags not read, -4 not taken
    // down, -5 not brought up, -6 flags not read again.
    static int restart(const char* name);
};
