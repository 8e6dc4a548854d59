// Everything of one K/4 that the processor can reach: the CPLD in I/O port space with the
// front panel behind it and the loopback plug in its parallel port, the sound card, the
// speaker, the serial adapters and the network links. Which CPLD, panel and address is the
// Board's:
//
//   aes     CPLD ID 2 version 1  at 0xD000   panel type 0x3C version 9   parallel port
//   plain   CPLD ID 1 version 9  at 0xD000   panel type 0x3D version 8   parallel port
//   i2c     CPLD ID 1 version 6  at 0xD000   panel type 0x3C version 5   I2C by software
//   engine  CPLD ID 1 version 8  at 0x0A00   panel type 0x3D version 7   I2C engine
//   none    nothing answers; there is no panel
#pragma once

#include "sim/models/board/cpld.h"
#include "sim/models/board/parallel_loopback.h"
#include "sim/models/breaker.h"
#include "sim/models/bus/i2c_bus.h"
#include "sim/models/bus/port_space.h"
#include "sim/models/joints/fault_sites.h"
#include "sim/models/lines/network_links.h"
#include "sim/models/lines/serial_adapters.h"
#include "sim/models/panel/keys.h"
#include "sim/models/panel/oled.h"
#include "sim/models/panel/panel.h"
#include "sim/models/panel/speaker.h"
#include "sim/models/sound/sound_card.h"
#include "sim/models/surroundings.h"
#include "sim/setup.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace k4sim {

class Device final : public PortSpace {
public:
    // `surroundings` must outlive the device. The seed tells what differs from one device
    // to the next and from run to run, such as the noise of the converters.
    Device(Board board, Surroundings& surroundings, std::uint64_t seed = 1);

    // The processor's port instructions. Ports that nothing answers read 0xFF and swallow
    // writes, port 0x80 among them.
    std::uint8_t in(std::uint16_t port) override;
    void out(std::uint16_t port, std::uint8_t value) override;

    Board board() const { return board_; }

    // Null on the board none.
    Panel* panel() { return panel_.get(); }
    Oled* oled() { return panel_ ? &panel_->oled() : nullptr; }
    const Oled* oled() const { return panel_ ? &panel_->oled() : nullptr; }
    Keys* keys() { return panel_ ? &panel_->keys() : nullptr; }
    Cpld* cpld() { return cpld_.get(); }
    const Cpld* cpld() const { return cpld_.get(); }

    // Where the I2C faults are set. On boards with the parallel port nothing hangs on it.
    I2cBus& i2c_bus() { return bus_; }

    Speaker& speaker() { return speaker_; }

    // On every board: it is a card of the processor's.
    SoundCard& sound_card() { return sound_card_; }

    // The same on every board; on the board none nothing drives the parallel port.
    ParallelLoopback& loopback() { return loopback_; }
    NetworkLinks& links() { return links_; }

    SerialAdapters& serial() { return serial_; }

    // Each place at which one thing can break.
    void name_sites(FaultSites& sites);

    // Sets a fault of fault_list() whose site is the device, or one of a site of its own. False,
    // and nothing is changed, when fault_error() objects or the host layer must carry it out.
    bool set_fault(std::string_view name, std::string_view value);

    // What set_fault() did is over. False, and nothing is changed, also of one that passes by
    // itself.
    bool clear_fault(std::string_view name, std::string_view value);

private:
    bool cpld_answers(std::uint16_t port) const;
    bool work_on_fault(Work work, std::string_view name, std::string_view value);

    Board board_;
    std::uint64_t seed_;
    std::uint16_t base_ = 0;
    I2cBus bus_;
    SoundCard sound_card_;
    std::unique_ptr<Panel> panel_;
    std::unique_ptr<Cpld> cpld_;
    Speaker speaker_;
    ParallelLoopback loopback_;
    NetworkLinks links_;
    SerialAdapters serial_;
};

} // namespace k4sim
