#include "sim/models/panel/ssd1362.h"

#include <algorithm>

namespace k4sim {

namespace {

enum Code : std::uint8_t {
    fade = 0x23,
    column_window = 0x15,
    row_window = 0x75,
    contrast = 0x81,
    remap = 0xA0,
    start_line = 0xA1,
    display_offset = 0xA2,
    scroll_area = 0xA3,
    show_ram = 0xA4,
    all_pixels_on = 0xA5,
    all_pixels_off = 0xA6,
    inverse_display = 0xA7,
    multiplex = 0xA8,
    core_supply = 0xAB,
    reference_current = 0xAD,
    sleep = 0xAE,
    wake = 0xAF,
    phases = 0xB1,
    clock = 0xB3,
    pins = 0xB5,
    second_precharge = 0xB6,
    grey_table = 0xB8,
    linear_greys = 0xB9,
    precharge_voltage = 0xBC,
    precharge_capacitor = 0xBD,
    deselect_voltage = 0xBE,
    lock = 0xFD,
};

// Bits of the remap byte.
constexpr unsigned mirror_columns = 0x01;
constexpr unsigned exchange_nibbles = 0x02;
constexpr unsigned down_columns_first = 0x04;
constexpr unsigned scan_upwards = 0x10;
constexpr unsigned wired_odd_even = 0x40;
constexpr unsigned exchange_halves = 0x80;

constexpr std::uint8_t lock_on = 0x16;
constexpr unsigned columns = 128; // of two pixels
constexpr unsigned rows = 64;
constexpr unsigned segments = 256;
constexpr unsigned segments_a_side = segments / 2;
constexpr unsigned widest_grey_above = 140;

// Parameters: lowest, highest, reset value, step, bits that are 0.
constexpr OledCommand commands[] = {
    oled_span(column_window, 0x7F),
    oled_command(fade, {0x00, 0x3F, 0x00}),
    oled_span(row_window, 0x3F),
    oled_command(contrast, {0x01, 0xFF, 0x7F}),
    oled_command(remap, {0x00, 0xFF, 0x40, 1, 0x28}),
    oled_command(start_line, {0x00, 0x3F, 0x00}),
    oled_command(display_offset, {0x00, 0x3F, 0x00}),
    oled_command(scroll_area, {0x00, 0x3F, 0x00}, {0x00, 0x40, 0x40}),
    oled_command(show_ram),
    oled_command(all_pixels_on),
    oled_command(all_pixels_off),
    oled_command(inverse_display),
    oled_command(multiplex, {0x03, 0x3F, 0x3F}),
    oled_command(core_supply, {0x00, 0x01, 0x01}),
    oled_command(reference_current, {0x8E, 0x9E, 0x8E, 0x10}),
    oled_command(sleep),
    oled_command(wake),
    oled_command(phases, {0x00, 0xFF, 0x82}),
    oled_command(clock, {0x00, 0xFF, 0xA1}),
    oled_command(pins, {0x00, 0x0F, 0x0A}),
    oled_command(second_precharge, {0x01, 0x0F, 0x04}),
    oled_grey_table(grey_table, OledCommand::Order::rising, 0xFF),
    oled_command(linear_greys),
    oled_command(precharge_voltage, {0x00, 0x1F, 0x04}),
    oled_command(precharge_capacitor, {0x00, 0x01, 0x00}),
    oled_command(deselect_voltage, {0x00, 0x07, 0x05}),
    oled_command(lock, {0x12, 0x16, 0x12, 0x04}),
};

// x on the glass of the pixel in the low (0) or high (1) nibble of a column.
unsigned glass_x(unsigned bits, unsigned column, unsigned nibble) {
    if (bits & mirror_columns) column = columns - 1 - column;
    if (bits & exchange_nibbles) nibble ^= 1;
    const unsigned segment = 2 * column + nibble;
    unsigned pad = bits & wired_odd_even ? segment / 2 + segments_a_side * (segment % 2) : segment;
    if (bits & exchange_halves) pad ^= segments_a_side;
    const unsigned column_of_glass = 2 * (pad % segments_a_side) + pad / segments_a_side;
    return segments - 1 - column_of_glass;
}

} // namespace

Ssd1362::Ssd1362(Surroundings& surroundings)
    : Oled(surroundings, commands, contrast, std::size_t{columns} * rows) {
    reset();
}

void Ssd1362::command(std::uint8_t byte) {
    if (wants_parameter())
        add_parameter(byte);
    else if (!peek_locked() || byte == lock)
        begin_command(byte);
}

void Ssd1362::data(std::uint8_t byte) {
    if (peek_locked()) return;
    if (wants_parameter()) protocol_error("data amid a command", byte);
    if (peek_parameter(core_supply) == 0) {
        protocol_error("data without core supply", byte);
        return;
    }
    write_ram(columns * window_.row() + window_.column(), byte);
    if (peek_parameter(remap) & down_columns_first)
        window_.advance_down_column();
    else
        window_.advance_along_row();
}

void Ssd1362::after_reset() {
    window_.set_columns(0, columns - 1);
    window_.set_rows(0, rows - 1);
}

void Ssd1362::execute(std::uint8_t code, Parameters parameters) {
    switch (code) {
    case column_window:
        window_.set_columns(parameters[0], parameters[1]);
        break;
    case row_window:
        window_.set_rows(parameters[0], parameters[1]);
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
    case grey_table:
        if (parameters.back() <= widest_grey_above)
            protocol_error("grey 15 too narrow", parameters.back());
        break;
    case lock:
        set_locked(parameters[0] == lock_on);
        break;
    default:
        break;
    }
}

Picture Ssd1362::ram_picture() const {
    const unsigned bits = peek_parameter(remap);
    const unsigned lines = peek_parameter(multiplex) + 1U;
    std::array<unsigned, segments> x_of{};
    for (unsigned pixel = 0; pixel < segments; ++pixel)
        x_of[pixel] = glass_x(bits, pixel / 2, pixel % 2);

    Picture picture{};
    for (unsigned y = 0; y < rows; ++y) {
        const unsigned common = (y + peek_parameter(display_offset)) % rows;
        if (common >= lines) continue;
        const unsigned line = bits & scan_upwards ? lines - 1 - common : common;
        const unsigned row = (line + peek_parameter(start_line)) % rows;
        std::uint8_t* const greys = &picture[y * glass_width];
        for (unsigned column = 0; column < columns; ++column) {
            const unsigned byte = ram(columns * row + column);
            greys[x_of[2 * column]] = byte & 0x0F;
            greys[x_of[2 * column + 1]] = static_cast<std::uint8_t>(byte >> 4);
        }
    }
    return picture;
}

} // namespace k4sim
