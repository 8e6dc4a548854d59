// ID 1 version 9: the front panel on a byte-parallel port.
//
// +4 read: bit 7 = a byte is still on its way to the panel, the other bits 0. +4 write of
// 1: resets the link. +5 read: panel type; write: OLED data byte. +6 read: panel version;
// write: OLED command byte. +7 to +10 read: key status word, lowest byte first; reading
// +7 takes the word, so that all four bytes belong together. +7 write: LED pattern.
//
// A byte written while the link is busy is lost. A dead panel never takes a byte: the
// link stays busy until it is reset, and what comes from the panel reads 0xFF.
#pragma once

#include "sim/models/board/cpld.h"
#include "sim/models/panel/panel.h"
#include "sim/models/surroundings.h"

#include <string_view>

namespace k4sim {

class CpldHss : public Cpld {
public:
    // How long a byte is on its way.
    static constexpr Microseconds byte_time_us = 2;

    CpldHss(Panel& panel, Surroundings& surroundings) : CpldHss(1, 9, panel, surroundings) {}

    std::uint8_t in(std::uint16_t port) override;
    void out(std::uint16_t port, std::uint8_t value) override;

    void name_sites(FaultSites& sites) override;

    std::uint32_t protocol_errors() const override { return protocol_errors_; }

protected:
    CpldHss(std::uint8_t id, std::uint8_t version, Panel& panel, Surroundings& surroundings)
        : Cpld(id, version), panel_(panel), surroundings_(surroundings) {}

    Surroundings& surroundings() { return surroundings_; }

private:
    bool busy() const;
    std::uint8_t from_panel(unsigned place);
    std::uint8_t byte_from_panel(unsigned place);
    unsigned selected(unsigned place);
    void to_panel(unsigned place, std::uint8_t value);
    void tell_byte(unsigned place, std::uint8_t byte, Wire strobe, Microseconds length);
    void reset_link();
    void protocol_error(std::string_view why);

    Panel& panel_;
    Surroundings& surroundings_;
    Microseconds busy_until_ = 0;
    std::uint32_t key_word_ = 0xFFFFFFFF;
    BitJoint status_bits_, data_lines_, select_lines_, busy_line_;
    bool read_open_ = false;
    bool write_open_ = false;
    bool reset_open_ = false;
    std::uint32_t protocol_errors_ = 0;
};

} // namespace k4sim
