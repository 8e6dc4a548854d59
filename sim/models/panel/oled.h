// An OLED controller with its 256 x 64 glass of 16 greys: bytes in, a picture out.
// Ssd1362 and Ssd1322 are the two chips.
//
// Not modelled: brightness (the greys of the picture depend on no contrast, which can be peeked,
// and on no grey table), the time that the panel needs to light up, reading the RAM back.
#pragma once

#include "sim/models/joints/bit_joint.h"
#include "sim/models/panel/oled_command.h"
#include "sim/models/surroundings.h"

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace k4sim {

inline constexpr unsigned glass_width = 256;
inline constexpr unsigned glass_height = 64;

// Greys 0 (dark) to 15, row by row from the top left corner.
using Picture = std::array<std::uint8_t, std::size_t{glass_width} * glass_height>;

class Oled {
public:
    enum class Mode { normal, all_off, all_on, inverse };

    virtual ~Oled() = default;
    Oled(const Oled&) = delete;
    Oled& operator=(const Oled&) = delete;

    // The RES# pulse: registers take their reset values, the display is off, the RAM
    // keeps its contents. After power-up the RAM holds noise, so that a program which
    // does not fill it shows that.
    void reset();

    // A byte with D/C = 0 and one with D/C = 1, as they arrive at the chip.
    virtual void command(std::uint8_t byte) = 0;
    virtual void data(std::uint8_t byte) = 0;

    // Called after each change of version(); empty: nobody. A picture that is being
    // transferred changes byte by byte, so the callback should only take a note.
    void set_on_change(std::function<void()> observer) { on_change_ = std::move(observer); }

    // What a person in front of the glass sees. Asleep: all 0.
    Picture picture() const;

    // Grows whenever the visible picture may have changed.
    std::uint64_t version() const { return version_; }
    // When it last did.
    Microseconds changed_at() const { return changed_at_; }

    bool peek_on() const { return on_; }
    Mode peek_mode() const { return mode_; }
    bool peek_locked() const { return locked_; }

    // Contrast, 0 to 255, as it reaches the glass.
    std::uint8_t peek_contrast() {
        return contrast_bits_.through_byte(peek_parameter(contrast_command_));
    }

    // Its glass, RAM and contrast.
    void name_sites(FaultSites& sites);

    // What the program last set as parameter `index` (0 or 1) of `command`, or the reset
    // value. 0 for a command that the chip does not have.
    std::uint8_t peek_parameter(std::uint8_t command, unsigned index = 0) const {
        return registers_[command][index];
    }

    // Bytes that break the chip's rules: unknown commands, values out of range, bytes
    // with the wrong D/C, RAM access where there is none. The chip ignores them, and with
    // a bad parameter the whole command. An event tells the 1st, 2nd, 4th, 8th ... error.
    std::uint32_t protocol_errors() const { return protocol_errors_; }

protected:
    using Parameters = std::span<const std::uint8_t>;

    // `contrast` is the command that sets the contrast, `ram_size` in bytes. The chip's
    // constructor calls reset().
    Oled(Surroundings& surroundings, std::span<const OledCommand> commands, std::uint8_t contrast,
         std::size_t ram_size);

    // For the chips: the registers have just got their reset values.
    virtual void after_reset() = 0;
    // A complete command with parameters in range; they are in peek_parameter() already.
    virtual void execute(std::uint8_t code, Parameters parameters) = 0;
    // What the RAM shows at each place of the glass.
    virtual Picture ram_picture() const = 0;

    // Starts the command `code`; one without parameters is executed at once.
    void begin_command(std::uint8_t code);
    bool wants_parameter() const { return missing_parameters_ > 0; }
    void add_parameter(std::uint8_t value);
    // Drops a command whose parameters are not complete.
    void abandon_command() { missing_parameters_ = 0; }

    void set_on(bool on);
    void set_mode(Mode mode);
    void set_locked(bool locked) { locked_ = locked; }
    void protocol_error(std::string_view why, std::uint8_t byte);
    // Something changed that shows as long as the RAM is what is seen.
    void ram_changed();

    std::uint8_t ram(std::size_t index) const { return ram_[index]; }
    void write_ram(std::size_t index, std::uint8_t value);

private:
    // A line of the glass that shows something else.
    struct Streak {
        bool is_row;
        unsigned place;
        std::uint8_t grey;
        bool operator==(const Streak&) const = default;
    };

    void name_streaks(FaultSites& sites, std::string_view name, bool is_row);
    void set(const Streak& streak, bool there);
    Picture lit_picture() const;
    const OledCommand* find(std::uint8_t code) const;
    bool parameters_valid() const;
    void finish_command();
    void picture_changed();

    Surroundings& surroundings_;
    std::span<const OledCommand> commands_;
    std::uint8_t contrast_command_;
    std::vector<std::uint8_t> ram_;
    const OledCommand* current_ = nullptr;
    unsigned missing_parameters_ = 0;
    std::array<std::uint8_t, oled_parameters_max> parameters_{};
    std::array<std::array<std::uint8_t, 2>, 256> registers_{};
    bool on_ = false;
    Mode mode_ = Mode::normal;
    bool locked_ = false;
    std::uint64_t version_ = 0;
    Microseconds changed_at_ = 0;
    std::uint32_t protocol_errors_ = 0;
    std::function<void()> on_change_;
    std::vector<Streak> streaks_;
    bool dark_ = false;
    BitJoint ram_data_, ram_address_, contrast_bits_;
};

} // namespace k4sim
