// An OLED module: a controller chip and the glass that it drives, 256 x 64 pixels of 16
// greys. The bus brings bytes with D/C = 0 (commands) and D/C = 1 (data).
#pragma once

#include "sim/models/picture.h"
#include "sim/models/surroundings.h"

#include <functional>

namespace k4sim {

class Oled {
public:
    explicit Oled(Surroundings& surroundings) : surroundings_(surroundings) {}
    Oled(const Oled&) = delete;
    Oled& operator=(const Oled&) = delete;
    virtual ~Oled() = default;

    virtual void reset() = 0;

    // The bus.
    virtual void command(std::uint8_t byte) = 0;
    virtual void data(std::uint8_t byte) = 0;

    // What shows on the glass.
    virtual Picture picture() const = 0;

    // Grows whenever the picture may have changed.
    std::uint64_t version() const { return version_; }
    // Called after each such change.
    void set_on_change(std::function<void()> action) { on_change_ = std::move(action); }

    // Bytes that this chip has no use for.
    int protocol_errors() const { return protocol_errors_; }
    virtual bool peek_on() const = 0;
    virtual int peek_contrast() const = 0;

protected:
    void changed();
    void protocol_error(std::uint8_t byte);
    void event(std::string_view what, std::int64_t value);

private:
    Surroundings& surroundings_;
    std::function<void()> on_change_;
    std::uint64_t version_ = 0;
    int protocol_errors_ = 0;
};

// What the display mode register of both chips can ask for.
enum class DisplayMode { normal, all_on, all_off, inverse };

// The grey that a pixel of RAM shows in that mode.
std::uint8_t shown_grey(DisplayMode mode, bool on, std::uint8_t grey);

// An address counter that runs within a window and wraps to its start.
struct AddressWindow {
    int start = 0;
    int end = 0;
    int at = 0;

    void set(int first, int last) {
        start = first;
        end = last;
        at = first;
    }
    // True when it wrapped.
    bool advance() {
        if (at != end) {
            ++at;
            return false;
        }
        at = start;
        return true;
    }
};

} // namespace k4sim
