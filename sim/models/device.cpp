#include "sim/models/device.h"

#include "sim/models/board/cpld_aes.h"
#include "sim/models/board/cpld_engine.h"
#include "sim/models/board/cpld_hss.h"
#include "sim/models/board/cpld_i2c.h"
#include "sim/models/board/loopback_faults.h"
#include "sim/models/breaker.h"
#include "sim/models/faults.h"
#include "sim/models/lines/link_faults.h"
#include "sim/models/lines/serial_faults.h"
#include "sim/models/sound/sound_faults.h"
#include "sim/models/universe.h"

namespace k4sim {

namespace {

constexpr std::uint8_t nobody_answers = 0xFF;

struct Fitting {
    Board board;
    std::uint16_t base;
    std::uint8_t panel_type;
    std::uint8_t panel_version;
};

constexpr Fitting fittings[] = {
    {Board::aes, 0xD000, panel_type_ssd1362, 9},
    {Board::plain, 0xD000, panel_type_ssd1322, 8},
    {Board::i2c, 0xD000, panel_type_ssd1362, 5},
    {Board::engine, 0x0A00, panel_type_ssd1322, 7},
};

const Fitting* fitting_of(Board board) {
    for (const Fitting& fitting : fittings)
        if (fitting.board == board) return &fitting;
    return nullptr;
}

std::unique_ptr<Cpld> make_aes_cpld(Panel& panel, SoundCard& sound_card,
                                    Surroundings& surroundings) {
    auto cpld = std::make_unique<CpldAes>(panel, surroundings);
    cpld->set_on_microphone(
        [&sound_card](std::uint8_t bits) { sound_card.set_microphone_switches(bits); });
    return cpld;
}

std::unique_ptr<Cpld> make_cpld(Board board, I2cBus& bus, Panel& panel, SoundCard& sound_card,
                                Surroundings& surroundings) {
    switch (board) {
    case Board::aes:
        return make_aes_cpld(panel, sound_card, surroundings);
    case Board::plain:
        return std::make_unique<CpldHss>(panel, surroundings);
    case Board::i2c:
        return std::make_unique<CpldI2c>(bus, surroundings);
    case Board::engine:
        return std::make_unique<CpldEngine>(bus, surroundings);
    case Board::none:
        break;
    }
    return nullptr;
}

std::uint8_t byte_of(std::string_view value) {
    return static_cast<std::uint8_t>(fault_number(value));
}

// fault_error() has seen to it that the board has what is broken, and that the value fits.
constexpr Breaker<Device> breakers[] = {
    {"cpld-id", [](Device& device, auto value) { device.cpld()->set_id(byte_of(value)); },
     [](Device& device, auto) { device.cpld()->restore_id(); }},
    {"cpld-version", [](Device& device, auto value) { device.cpld()->set_version(byte_of(value)); },
     [](Device& device, auto) { device.cpld()->restore_version(); }},
    {"encoder-dead",
     [](Device& device, auto value) { device.keys()->set_encoder_dead(byte_of(value), true); },
     [](Device& device, auto value) { device.keys()->set_encoder_dead(byte_of(value), false); }},
    {"key-dead", [](Device& device, auto value) { device.keys()->set_dead(value[0], true); },
     [](Device& device, auto value) { device.keys()->set_dead(value[0], false); }},
    {"key-held", [](Device& device, auto value) { device.keys()->set_held(value[0], true); },
     [](Device& device, auto value) { device.keys()->set_held(value[0], false); }},
    {"key-word-invalid",
     [](Device& device, auto value) {
         device.keys()->set_invalid(static_cast<unsigned>(fault_number(value)));
     },
     [](Device& device, auto) { device.keys()->set_invalid(0); }},
    {"panel-dead", [](Device& device, auto) { device.panel()->set_dead(true); },
     [](Device& device, auto) { device.panel()->set_dead(false); }},
    {"panel-type",
     [](Device& device, auto value) { device.panel()->set_reported_type(byte_of(value)); },
     [](Device& device, auto) { device.panel()->restore_reported_type(); }},
    {"sda-stuck",
     [](Device& device, auto value) { device.i2c_bus().set_sda_stuck(byte_of(value) == 1); },
     [](Device& device, auto) { device.i2c_bus().release_sda(); }},
    {"speaker-absent", [](Device& device, auto) { device.speaker().set_present(false); },
     [](Device& device, auto) { device.speaker().set_present(true); }},
};

} // namespace

Device::Device(Board board, Surroundings& surroundings, std::uint64_t seed)
    : board_(board), seed_(seed), sound_card_(board, seed, surroundings), speaker_(surroundings),
      loopback_(seed, surroundings), links_(surroundings), serial_(surroundings) {
    const Fitting* const fitting = fitting_of(board);
    if (fitting == nullptr) return;
    base_ = fitting->base;
    panel_ = std::make_unique<Panel>(fitting->panel_type, fitting->panel_version, surroundings);
    bus_.attach(panel_i2c_address, *panel_);
    cpld_ = make_cpld(board, bus_, *panel_, sound_card_, surroundings);
    cpld_->plug(loopback_);
}

std::uint8_t Device::in(std::uint16_t port) {
    return cpld_answers(port) ? cpld_->in(port) : nobody_answers;
}

void Device::out(std::uint16_t port, std::uint8_t value) {
    if (cpld_answers(port)) cpld_->out(port, value);
}

bool Device::set_fault(std::string_view name, std::string_view value) {
    return work_on_fault(Work::strike, name, value);
}

bool Device::clear_fault(std::string_view name, std::string_view value) {
    return work_on_fault(Work::mend, name, value);
}

void Device::name_sites(FaultSites& sites) {
    links_.name_sites(sites);
    serial_.name_sites(sites);
    speaker_.name_sites(sites);
    sound_card_.name_sites(sites);
    if (cpld_ == nullptr) return;
    cpld_->name_sites(sites);
    loopback_.name_sites(sites);
    panel_->name_sites(sites);
}

bool Device::work_on_fault(Work work, std::string_view name, std::string_view value) {
    if (is_site(name)) {
        FaultSites sites(board_, seed_);
        name_sites(sites);
        return sites.work(name, value, work == Work::strike);
    }
    if (!fault_error(board_, name, value).empty()) return false;
    return work_by_name(breakers, work, *this, name, value) ||
           work_on_sound_card(work, sound_card_, name, value) ||
           work_on_loopback(work, loopback_, name, value) ||
           work_on_links(work, links_, name, value) || work_on_serial(work, serial_, name, value);
}

bool Device::cpld_answers(std::uint16_t port) const {
    return cpld_ != nullptr && port - base_ < cpld_window_size && port >= base_;
}

} // namespace k4sim
