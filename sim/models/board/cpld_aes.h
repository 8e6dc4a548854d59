// ID 2 version 1, the board with the AES/EBU interface: the parallel port of ID 1 version
// 9, the switches of the microphone inputs and a watchdog.
//
// +0x0B read and write: bits 0 to 3 microphone boost, bits 4 to 7 phantom power of
// channel 0 to 3, 1 = on. +0x0C write: watchdog.
//
// Not modelled: what the watchdog would do when nobody writes to it.
#pragma once

#include "sim/models/board/cpld_hss.h"

#include <functional>
#include <optional>
#include <utility>

namespace k4sim {

class CpldAes final : public CpldHss {
public:
    CpldAes(Panel& panel, Surroundings& surroundings) : CpldHss(2, 1, panel, surroundings) {
        switch_bits_.set_on_change([this] { switch_microphone(); });
    }

    std::uint8_t in(std::uint16_t port) override;
    void out(std::uint16_t port, std::uint8_t value) override;

    void name_sites(FaultSites& sites) override;

    // Called with the register at +0x0B whenever it changes.
    void set_on_microphone(std::function<void(std::uint8_t)> observer) {
        on_microphone_ = std::move(observer);
    }

private:
    void set_microphone(std::uint8_t value);
    void switch_microphone();
    void set_watchdog(std::uint8_t value);

    std::function<void(std::uint8_t)> on_microphone_;
    std::uint8_t microphone_ = 0;          // as written
    std::uint8_t switches_ = 0;            // as they are
    BitJoint switch_bits_;                 // the wires to them
    std::optional<std::uint8_t> watchdog_; // as last written
};

} // namespace k4sim
