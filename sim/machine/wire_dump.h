// Writes what the wires do into a Value Change Dump whose header is there (vcd_header()).
#pragma once

#include "sim/models/wires.h"

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

namespace k4sim {

class WireDump final : public Wires {
public:
    // Keeps what the wires of this board do for the file, which is written from write_on() on: only
    // the process that has the device writes.
    void open(int descriptor, Board board);
    void write_on() { writes_ = true; }
    bool is_open() const { return descriptor_ >= 0; }

    void set(Wire wire, std::uint32_t levels, Nanoseconds when) override;

    // Writes all that came until `now`. Without the heap, also of a program that dies.
    void end(Nanoseconds now);

    // In the child of a fork: the file is the parent's.
    void leave();

private:
    struct Change {
        std::int64_t tick;
        std::uint32_t order; // of those of one tick
        std::uint32_t levels : 24;
        std::uint32_t wire : 8;
    };

    void flush(std::int64_t end_tick);
    void write(const Change& change);
    void write_time(std::int64_t tick);
    void put(std::string_view text);
    void put_out();

    int descriptor_ = -1;
    bool writes_ = false;
    Nanoseconds unit_ns_ = 1000;
    std::vector<Change> changes_; // not written yet
    std::uint32_t order_ = 0;
    Nanoseconds flushed_ = 0;
    std::int64_t tick_ = 0; // written last
    std::array<std::uint32_t, static_cast<std::size_t>(Wire::speaker) + 1> levels_{};
    std::array<char, 65536> text_{};
    std::size_t size_ = 0;
};

} // namespace k4sim
