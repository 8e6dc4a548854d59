// The two network ports of the device as the kernel shows them: eth0 is the LAN, usb0 the
// WAN. Both cables are plugged, and both interfaces up without an address.
//
// Not modelled: traffic, and that a link takes time to come back.
#pragma once

#include "sim/models/joints/fault_sites.h"
#include "sim/models/surroundings.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace k4sim {

class NetworkLink {
public:
    NetworkLink(std::string_view name, std::uint8_t number, Surroundings& surroundings)
        : name_(name), mac_{0x02, 0x4B, 0x34, 0, 0, number},
          wire_(number == 1 ? Wire::lan : Wire::wan), surroundings_(surroundings) {}

    std::string_view name() const { return name_; }

    bool present() const { return present_; }
    // Whether the interface is up and its cable leads to something.
    bool carrier() const { return up_ && (connected_ || carrier_stuck_); }
    bool up() const { return up_; }
    void set_up(bool up);

    // In host order; 0: none.
    std::uint32_t address() const { return address_; }
    std::uint32_t mask() const { return mask_; }
    void set_address(std::uint32_t address) { address_ = address; }
    void set_mask(std::uint32_t mask) { mask_ = mask; }

    const std::array<std::uint8_t, 6>& mac() const { return mac_; }

    // Whether the driver refuses to tell its link. An event tells the 1st, 2nd, 4th,
    // 8th ... refusal.
    bool refuses();

    // Its carrier, plug, interface and driver.
    void name_sites(FaultSites& sites);

    // Faults. Each change of the connection is an event.
    void disconnect(); // until reconnect()
    void reconnect();
    void drop(Microseconds duration);              // once
    void flap(Microseconds down, Microseconds up); // from now on, down first
    void steady();                                 // flap() is over, and the link up
    void set_present(bool present);
    void set_refusing(bool refusing) { refusing_ = refusing; }

private:
    void connect(bool connected);
    void tell() { surroundings_.wire(wire_, present_ && carrier()); }
    void flap_on(std::uint32_t flap, Microseconds down, Microseconds up);

    std::string_view name_;
    std::array<std::uint8_t, 6> mac_;
    Wire wire_;
    Surroundings& surroundings_;
    bool present_ = true;
    bool connected_ = true;
    bool carrier_stuck_ = false; // on
    bool cable_out_ = false;     // and stays so
    std::uint32_t flaps_ = 0;    // tells the latest flap() from those before
    bool up_ = true;
    bool refusing_ = false;
    std::uint32_t refusals_ = 0;
    std::uint32_t address_ = 0;
    std::uint32_t mask_ = 0;
};

class NetworkLinks {
public:
    explicit NetworkLinks(Surroundings& surroundings)
        : links_{NetworkLink("eth0", 1, surroundings), NetworkLink("usb0", 2, surroundings)} {}

    // Null for a name that is none of the device's. A link that is not present is found.
    NetworkLink* find(std::string_view name);

    void name_sites(FaultSites& sites);

private:
    std::array<NetworkLink, 2> links_;
};

} // namespace k4sim
