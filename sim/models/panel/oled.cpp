#include "sim/models/panel/oled.h"

#include <algorithm>
#include <functional>

namespace k4sim {

namespace {

constexpr std::uint8_t brightest = 15;

std::string_view name(Oled::Mode mode) {
    static constexpr std::string_view names[] = {"normal", "all-off", "all-on", "inverse"};
    return names[static_cast<unsigned>(mode)];
}

// Bytes that look like nothing, and the same ones every time.
void fill_with_noise(std::vector<std::uint8_t>& bytes) {
    std::uint32_t state = 1;
    for (std::uint8_t& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
}

bool in_order(OledCommand::Order order, std::span<const std::uint8_t> values) {
    switch (order) {
    case OledCommand::Order::any:
        return true;
    case OledCommand::Order::not_falling:
        return std::ranges::is_sorted(values);
    case OledCommand::Order::rising:
        break;
    }
    return std::ranges::adjacent_find(values, std::greater_equal<>()) == values.end();
}

} // namespace

Oled::Oled(Surroundings& surroundings, std::span<const OledCommand> commands, std::uint8_t contrast,
           std::size_t ram_size)
    : surroundings_(surroundings), commands_(commands), contrast_command_(contrast),
      ram_(ram_size) {
    fill_with_noise(ram_);
}

void Oled::reset() {
    for (const OledCommand& command : commands_)
        for (unsigned index = 0; index < 2; ++index)
            registers_[command.code][index] = command.parameters[index].reset;
    abandon_command();
    set_locked(false);
    set_on(false);
    set_mode(Mode::normal);
    after_reset();
}

Picture Oled::picture() const {
    Picture picture{};
    if (!on_ || mode_ == Mode::all_off) return picture;
    if (mode_ == Mode::all_on) {
        picture.fill(brightest);
        return picture;
    }
    picture = ram_picture();
    if (mode_ == Mode::inverse)
        for (std::uint8_t& grey : picture)
            grey = static_cast<std::uint8_t>(brightest - grey);
    return picture;
}

void Oled::begin_command(std::uint8_t code) {
    current_ = find(code);
    if (current_ == nullptr) {
        protocol_error("unknown command", code);
        return;
    }
    missing_parameters_ = current_->parameter_count;
    if (missing_parameters_ == 0) execute(code, {});
}

void Oled::add_parameter(std::uint8_t value) {
    parameters_[current_->parameter_count - missing_parameters_] = value;
    if (--missing_parameters_ == 0) finish_command();
}

void Oled::set_on(bool on) {
    if (on == on_) return;
    on_ = on;
    surroundings_.event("oled", "power", {{"on", on}});
    picture_changed();
}

void Oled::set_mode(Mode mode) {
    if (mode == mode_) return;
    mode_ = mode;
    surroundings_.event("oled", "mode", {{"mode", name(mode)}});
    if (on_) picture_changed();
}

void Oled::protocol_error(std::string_view why, std::uint8_t byte) {
    ++protocol_errors_;
    if ((protocol_errors_ & (protocol_errors_ - 1)) != 0) return;
    surroundings_.event(
        "oled", "protocol-error",
        {{"why", why}, {"byte", std::int64_t{byte}}, {"count", std::int64_t{protocol_errors_}}});
}

void Oled::ram_changed() {
    if (on_ && (mode_ == Mode::normal || mode_ == Mode::inverse)) picture_changed();
}

void Oled::write_ram(std::size_t index, std::uint8_t value) {
    if (ram_[index] == value) return;
    ram_[index] = value;
    ram_changed();
}

const OledCommand* Oled::find(std::uint8_t code) const {
    const auto found = std::ranges::find(commands_, code, &OledCommand::code);
    return found == commands_.end() ? nullptr : &*found;
}

bool Oled::parameters_valid() const {
    const Parameters given(parameters_.data(), current_->parameter_count);
    for (unsigned index = 0; index < given.size(); ++index)
        if (!current_->parameter(index).accepts(given[index])) return false;
    return in_order(current_->order, given);
}

void Oled::finish_command() {
    const std::uint8_t code = current_->code;
    if (!parameters_valid()) {
        protocol_error("parameter out of range", code);
        return;
    }
    const std::uint8_t contrast = peek_contrast();
    std::copy_n(parameters_.begin(), std::min<unsigned>(current_->parameter_count, 2),
                registers_[code].begin());
    if (peek_contrast() != contrast)
        surroundings_.event("oled", "contrast", {{"value", std::int64_t{peek_contrast()}}});
    execute(code, {parameters_.data(), current_->parameter_count});
}

void Oled::picture_changed() {
    ++version_;
    if (on_change_) on_change_();
}

} // namespace k4sim
