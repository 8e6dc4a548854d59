#include "sim/models/panel/ssd1322.h"

#include <algorithm>

namespace k4sim {

namespace {

enum Code : std::uint8_t {
    use_grey_table = 0x00,
    column_window = 0x15,
    write_pixels = 0x5C,
    read_pixels = 0x5D,
    row_window = 0x75,
    remap = 0xA0,
    start_line = 0xA1,
    display_offset = 0xA2,
    all_pixels_off = 0xA4,
    all_pixels_on = 0xA5,
    show_ram = 0xA6,
    inverse_display = 0xA7,
    partial_display = 0xA8,
    whole_display = 0xA9,
    core_supply = 0xAB,
    sleep = 0xAE,
    wake = 0xAF,
    phases = 0xB1,
    clock = 0xB3,
    enhancement_a = 0xB4,
    pins = 0xB5,
    second_precharge = 0xB6,
    grey_table = 0xB8,
    linear_greys = 0xB9,
    precharge_voltage = 0xBB,
    deselect_voltage = 0xBE,
    contrast = 0xC1,
    master_current = 0xC7,
    multiplex = 0xCA,
    enhancement_b = 0xD1,
    lock = 0xFD,
};

// Bits of the first remap byte, and of the second.
constexpr unsigned down_columns_first = 0x01;
constexpr unsigned mirror_columns = 0x02;
constexpr unsigned reverse_nibbles = 0x04;
constexpr unsigned scan_from_last = 0x10;
constexpr unsigned pins_odd_even = 0x20;
constexpr unsigned dual_common = 0x10;

constexpr std::uint8_t lock_on = 0x16;
constexpr unsigned columns = 120; // of four pixels
constexpr unsigned bytes_a_column = 2;
constexpr unsigned bytes_a_row = columns * bytes_a_column;
constexpr unsigned rows = 128;
constexpr unsigned segments = 4 * columns;
constexpr unsigned first_segment_of_glass = (segments - glass_width) / 2;
constexpr unsigned dual_commons = 64;

// Parameters: lowest, highest, reset value, step, bits that are 0.
constexpr OledCommand commands[] = {
    oled_command(use_grey_table),
    oled_span(column_window, 0x77),
    oled_command(write_pixels),
    oled_command(read_pixels),
    oled_span(row_window, 0x7F),
    oled_command(remap, {0x00, 0xFF, 0x00, 1, 0xC8}, {0x01, 0x11, 0x01, 0x10}),
    oled_command(start_line, {0x00, 0x7F, 0x00}),
    oled_command(display_offset, {0x00, 0x7F, 0x00}),
    oled_command(all_pixels_off),
    oled_command(all_pixels_on),
    oled_command(show_ram),
    oled_command(inverse_display),
    oled_span(partial_display, 0x7F),
    oled_command(whole_display),
    oled_command(core_supply, {0x00, 0x01, 0x01}),
    oled_command(sleep),
    oled_command(wake),
    oled_command(phases, {0x00, 0xFF, 0x74}),
    oled_command(clock, {0x00, 0xFF, 0x50}),
    oled_command(enhancement_a, {0xA0, 0xA2, 0xA2, 0x02}, {0xB5, 0xFD, 0xB5, 0x48}),
    oled_command(pins, {0x00, 0x0F, 0x0A}),
    oled_command(second_precharge, {0x00, 0x0F, 0x08}),
    oled_grey_table(grey_table, OledCommand::Order::not_falling, 180),
    oled_command(linear_greys),
    oled_command(precharge_voltage, {0x00, 0x1F, 0x17}),
    oled_command(deselect_voltage, {0x00, 0x07, 0x04}),
    oled_command(contrast, {0x00, 0xFF, 0x7F}),
    oled_command(master_current, {0x00, 0x0F, 0x0F}),
    oled_command(multiplex, {0x0F, 0x7F, 0x7F}),
    oled_command(enhancement_b, {0x82, 0xA2, 0xA2, 0x20}, {0x20, 0x20, 0x20}),
    oled_command(lock, {0x12, 0x16, 0x12, 0x04}),
};

// Where on the segments the pixel `pixel` of a row appears, counted in the order in which
// pixels are written, the high nibble of a byte first.
unsigned segment_of(unsigned bits, unsigned pixel) {
    if (!(bits & reverse_nibbles)) pixel ^= 3; // the four of a column the other way round
    return bits & mirror_columns ? segments - 1 - pixel : pixel;
}

} // namespace

Ssd1322::Ssd1322(Surroundings& surroundings)
    : Oled(surroundings, commands, contrast, std::size_t{bytes_a_row} * rows) {
    reset();
}

void Ssd1322::command(std::uint8_t byte) {
    ignoring_ = peek_locked() && byte != lock;
    if (ignoring_) return;
    if (wants_parameter()) {
        protocol_error("command amid parameters", byte);
        abandon_command();
    }
    writing_ = false;
    begin_command(byte);
}

void Ssd1322::data(std::uint8_t byte) {
    if (ignoring_) return;
    if (wants_parameter())
        add_parameter(byte);
    else if (writing_ && peek_parameter(core_supply) != 0)
        store(byte);
    else
        protocol_error("data without command", byte);
}

void Ssd1322::after_reset() {
    window_.set_columns(0, columns - 1);
    window_.set_rows(0, rows - 1);
    writing_ = ignoring_ = second_byte_ = partial_ = false;
}

void Ssd1322::execute(std::uint8_t code, Parameters parameters) {
    switch (code) {
    case column_window:
        window_.set_columns(parameters[0], parameters[1]);
        second_byte_ = false;
        break;
    case row_window:
        window_.set_rows(parameters[0], parameters[1]);
        break;
    case write_pixels:
        writing_ = true;
        break;
    case partial_display:
    case whole_display:
        partial_ = code == partial_display;
        ram_changed();
        break;
    case remap:
    case start_line:
    case display_offset:
    case multiplex:
        ram_changed();
        break;
    case show_ram:
        set_mode(Mode::normal);
        break;
    case all_pixels_on:
        set_mode(Mode::all_on);
        break;
    case all_pixels_off:
        set_mode(Mode::all_off);
        break;
    case inverse_display:
        set_mode(Mode::inverse);
        break;
    case sleep:
        set_on(false);
        break;
    case wake:
        set_on(true);
        break;
    case lock:
        set_locked(parameters[0] == lock_on);
        break;
    default:
        break;
    }
}

Picture Ssd1322::ram_picture() const {
    Picture picture{};
    const unsigned bits = peek_parameter(remap);
    const unsigned lines = peek_parameter(multiplex) + 1U;
    const bool fits_glass = !(bits & pins_odd_even) && (peek_parameter(remap, 1) & dual_common) &&
                            lines <= dual_commons;
    if (!fits_glass) return picture;

    for (unsigned y = 0; y < glass_height; ++y) {
        // The glass is mounted with its last COM line at the top.
        const unsigned common =
            (glass_height - 1 - y + peek_parameter(display_offset)) % dual_commons;
        if (common >= lines) continue;
        const unsigned line = bits & scan_from_last ? lines - 1 - common : common;
        if (!line_shown(line)) continue;
        const unsigned row = (line + peek_parameter(start_line)) % rows;
        for (unsigned pixel = 0; pixel < segments; ++pixel) {
            const unsigned x = segment_of(bits, pixel) - first_segment_of_glass;
            if (x >= glass_width) continue; // also left of the glass: x is unsigned
            const unsigned byte = ram(bytes_a_row * row + pixel / 2);
            picture[y * glass_width + x] = pixel % 2 == 0 ? byte >> 4 : byte & 0x0F;
        }
    }
    return picture;
}

void Ssd1322::store(std::uint8_t byte) {
    write_ram(bytes_a_row * window_.row() + bytes_a_column * window_.column() + second_byte_, byte);
    second_byte_ = !second_byte_;
    if (second_byte_) return;
    if (peek_parameter(remap) & down_columns_first)
        window_.advance_down_column();
    else
        window_.advance_along_row();
}

bool Ssd1322::line_shown(unsigned line) const {
    return !partial_ || (peek_parameter(partial_display, 0) <= line &&
                         line <= peek_parameter(partial_display, 1));
}

} // namespace k4sim
