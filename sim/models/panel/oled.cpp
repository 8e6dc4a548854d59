#include "sim/models/panel/oled.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <string>

namespace k4sim {

namespace {

constexpr std::uint8_t brightest = 15;
constexpr std::uint8_t dark = 0;
constexpr unsigned streaks_named = 16;
constexpr std::uint32_t all_bits = 0xFF;

constexpr Expectation oled_expectations[] = {
    {"oled.contrast.bit[0-47]=stuck-1", Finding::escaped, "it is set anyway"},
    {"oled.contrast.bit[56]=stuck-0", Finding::escaped, "it is clear anyway"},
    {"oled.ram.address14=stuck-0", Finding::escaped, "the picture lies below it"},
    {"oled.segment152=*", Finding::misleading, "an E beside it is read as a B", on_engine},
    {"oled.*", Finding::operator_, "the glass can't be read back; all lit, it shows what is wrong"},
};

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
    Picture picture = lit_picture();
    for (const auto& [is_row, place, grey] : streaks_)
        for (unsigned at = 0; at < (is_row ? glass_width : glass_height); ++at)
            picture[is_row ? place * glass_width + at : at * glass_width + place] = grey;
    return picture;
}

Picture Oled::lit_picture() const {
    Picture picture{};
    if (!on_ || dark_ || mode_ == Mode::all_off) return picture;
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

void Oled::name_sites(FaultSites& sites) {
    sites.about("Frontpanel", oled_expectations);
    name_streaks(sites, "oled.segment", false);
    name_streaks(sites, "oled.row", true);
    sites.add("oled.supply", "off", [this](bool broken) {
        dark_ = broken;
        picture_changed();
    });
    ram_data_.name_bits(sites, "oled.ram.data", all_bits, BitJoint::stuck);
    ram_address_.name_bits(sites, "oled.ram.address",
                           static_cast<std::uint32_t>(std::bit_ceil(ram_.size()) - 1),
                           BitJoint::stuck);
    contrast_bits_.name_bits(sites, "oled.contrast.bit", all_bits, BitJoint::stuck);
}

void Oled::name_streaks(FaultSites& sites, std::string_view name, bool is_row) {
    const unsigned count = is_row ? glass_height : glass_width;
    const unsigned apart = count / streaks_named; // one of each group tells enough
    for (unsigned place = apart / 2; place < count; place += apart)
        for (const bool lit : {false, true})
            sites.add(std::string(name) + std::to_string(place), lit ? "lit" : "dark",
                      [this, streak = Streak{is_row, place, lit ? brightest : dark}](bool broken) {
                          set(streak, broken);
                      });
}

void Oled::set(const Streak& streak, bool there) {
    if (there)
        streaks_.push_back(streak);
    else
        std::erase(streaks_, streak);
    picture_changed();
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
    value = ram_data_.through_byte(value);
    index = ram_address_.through(static_cast<std::uint32_t>(index)) % ram_.size();
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
    changed_at_ = surroundings_.now();
    if (on_change_) on_change_();
}

} // namespace k4sim
