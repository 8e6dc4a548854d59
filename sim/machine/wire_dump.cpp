#include "sim/machine/wire_dump.h"

#include "sim/machine/report.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <string>
#include <tuple>
#include <unistd.h>

namespace k4sim {

void WireDump::open(int descriptor, Board board) {
    descriptor_ = descriptor;
    unit_ns_ = vcd_unit_ns(board);
    for (const WireGroup& group : wire_groups())
        levels_[static_cast<std::size_t>(group.wire)] = group.idle;
}

void WireDump::set(Wire wire, std::uint32_t levels, Nanoseconds when) {
    changes_.push_back(
        {when / unit_ns_, order_++, levels & 0xFFFFFF, static_cast<std::uint32_t>(wire) & 0xFF});
    if (when < flushed_ + 2 * wires_memory_ns) return;
    flushed_ = when - wires_memory_ns;
    if (writes_) flush(flushed_ / unit_ns_);
}

void WireDump::end(Nanoseconds now) {
    if (!is_open() || !writes_) return;
    flush(now / unit_ns_);
    if (now / unit_ns_ > tick_) write_time(now / unit_ns_);
    put_out();
    descriptor_ = -1;
}

void WireDump::leave() {
    writes_ = false;
    changes_.clear();
    size_ = 0;
}

void WireDump::flush(std::int64_t end_tick) {
    std::ranges::sort(changes_, {},
                      [](const Change& one) { return std::tuple(one.tick, one.order); });
    const auto end = std::ranges::upper_bound(changes_, end_tick, {}, &Change::tick);
    std::for_each(changes_.begin(), end, [this](const Change& one) { write(one); });
    changes_.erase(changes_.begin(), end);
}

void WireDump::write(const Change& change) {
    std::uint32_t& levels = levels_[change.wire];
    const std::uint32_t changed = levels ^ change.levels;
    if (changed == 0) return;
    levels = change.levels;
    if (change.tick > tick_) write_time(change.tick);
    for (unsigned bit = 0; changed >> bit != 0; ++bit) {
        if ((changed >> bit & 1) == 0) continue;
        const char line[] = {(levels >> bit & 1) != 0 ? '1' : '0',
                             vcd_sign(static_cast<Wire>(change.wire), bit), '\n'};
        put({line, sizeof line});
    }
}

void WireDump::write_time(std::int64_t tick) {
    tick_ = tick;
    char line[24] = "#";
    char* const end = std::to_chars(line + 1, line + sizeof line - 1, tick).ptr;
    *end = '\n';
    put({line, static_cast<std::size_t>(end - line) + 1});
}

void WireDump::put(std::string_view text) {
    if (text_.size() - size_ < text.size()) put_out();
    size_ += text.copy(&text_[size_], text.size());
}

void WireDump::put_out() {
    if (descriptor_ >= 0 && !write_fully(descriptor_, {text_.data(), size_})) {
        const char* const why = strerrordesc_np(errno);
        write_fully(STDERR_FILENO, "k4sim: the dump of the wires is cut: ");
        write_fully(STDERR_FILENO, why != nullptr ? why : "it can't be written");
        write_fully(STDERR_FILENO, "\n");
        descriptor_ = -1;
    }
    size_ = 0;
}

} // namespace k4sim
