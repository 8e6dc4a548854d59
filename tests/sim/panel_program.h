// Stands for the program under test in front of the operators: looks at the keys every
// 100 ms, lights the whole glass until the first key, and shows what is missing in the
// status table. The key word is taken apart by the program's own buffer.
#pragma once

#include "fake_surroundings.h"
#include "status_picture.h"

#include "hw/keypad.h"
#include "sim/models/device.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

class PanelProgram {
public:
    // As with and without a numeric keypad.
    enum class Keypad { fitted, absent };

    // For a device of the board aes.
    PanelProgram(k4sim::Device& device, FakeSurroundings& surroundings, Keypad keypad)
        : device_(device), surroundings_(surroundings), keypad_(keypad) {
        commands({0xFD, 0x12, 0xA0, 0xC3, 0xA8, 0x3F, 0xAB, 0x01, 0xAF});
        show(StatusPicture());
    }

    void start() {
        commands({0xA5}); // all pixels lit
        events_.init(device_.panel()->version());
        tick();
    }

    // What another unit's row reads.
    void set_other_status(const std::string& status) { other_status_ = status; }

    // The first so many keys and steps do not count: the table goes on asking for them.
    void set_forgetful(std::size_t count) { forgotten_ = count; }

    // Codes of accepted presses, in order.
    const std::vector<int>& keys() const { return keys_; }
    bool aborted() const { return aborted_at_ >= 0; }
    k4sim::Microseconds aborted_at() const { return aborted_at_; }
    int most_keys_at_once() const { return most_keys_at_once_; }

    std::string status() const {
        if (missing_ == 0) return "OK";
        return keypad_ == Keypad::fitted ? missing_characters() : missing_words();
    }

private:
    static constexpr std::string_view characters = CHfpK4keyBuf::keyCharacters;

    static int code_of(char character) { return static_cast<int>(characters.find(character)); }

    void commands(std::initializer_list<int> bytes) {
        for (const int byte : bytes)
            device_.panel()->oled_command(static_cast<std::uint8_t>(byte));
    }

    void show(const StatusPicture& table) {
        const k4sim::Picture picture = table.picture();
        commands({0x15, 0x00, 0x7F, 0x75, 0x00, 0x3F});
        for (std::size_t i = 0; i < picture.size(); i += 2)
            device_.panel()->oled_data(static_cast<std::uint8_t>(picture[i] << 4 | picture[i + 1]));
    }

    void tick() {
        events_.analyze(device_.panel()->key_word());
        for (int event = events_.getkey(); event != CHfpK4keyBuf::noEvent; event = events_.getkey())
            take(event);
        if (ticks_++ % 10 == 0) redraw();
        if (!aborted()) surroundings_.at(surroundings_.now() + 100'000, [this] { tick(); });
    }

    void take(int event) {
        if (event >= CHfpK4keyBuf::released) {
            --keys_down_;
            return;
        }
        const bool is_step = std::strchr("LRhH", characters[event]) != nullptr;
        if (!is_step) most_keys_at_once_ = std::max(most_keys_at_once_, ++keys_down_);
        accept(event);
    }

    void accept(int code) {
        if (!swallowed_ && (code == code_of('7') || code == code_of('M'))) {
            swallowed_ = true;
            return;
        }
        if (keys_.empty()) commands({0xA4}); // the picture
        if (code == code_of('E') && !keys_.empty() && keys_.back() == code)
            aborted_at_ = surroundings_.now();
        keys_.push_back(code);
        if (keys_.size() > forgotten_) missing_ &= ~(1U << code);
    }

    std::string missing_characters() const {
        std::string text;
        for (unsigned code = 0; code < characters.size(); ++code)
            if (missing_ >> code & 1) text += characters[code];
        return text;
    }

    std::string missing_words() const {
        std::string text = "Missing ";
        const std::pair<char, const char*> words[] = {{'L', "Ml "},  {'R', "Mr "}, {'K', "M "},
                                                      {'E', "Esc "}, {'M', "H "},  {'h', "Hl "},
                                                      {'H', "Hr "}};
        for (const auto& [character, word] : words)
            if (missing_ >> code_of(character) & 1) text += word;
        return text;
    }

    void redraw() {
        show(StatusPicture({{"ParallelPrt", other_status_}, {"", ""}, {"Frontpanel", status()}}));
    }

    k4sim::Device& device_;
    FakeSurroundings& surroundings_;
    Keypad keypad_;
    std::string other_status_ = "Not running";
    CHfpK4keyBuf events_;
    int keys_down_ = 0;
    std::uint32_t missing_ = keypad_ == Keypad::fitted ? 0x3FFFFF : 0x38F000;
    std::size_t forgotten_ = 0;
    bool swallowed_ = false;
    std::vector<int> keys_;
    k4sim::Microseconds aborted_at_ = -1;
    int most_keys_at_once_ = 0;
    unsigned ticks_ = 0;
};
