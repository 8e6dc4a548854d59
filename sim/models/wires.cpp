#include "sim/models/wires.h"

#include <algorithm>
#include <array>

namespace k4sim {

namespace {

constexpr char first_sign = '!'; // up to '~' they suffice for all

template <class... Boards>
constexpr unsigned on(Boards... which) {
    return (... | (1U << static_cast<unsigned>(which)));
}

constexpr unsigned with_i2c = on(Board::i2c, Board::engine);
constexpr unsigned with_port = on(Board::aes, Board::plain);
constexpr unsigned with_cpld = with_i2c | with_port;
constexpr unsigned all_boards = with_cpld | on(Board::none);

constexpr WireGroup groups[] = {
    {Wire::sda, "i2c", "sda", 1, with_i2c},
    {Wire::scl, "i2c", "scl", 1, with_i2c},
    {Wire::panel_data, "panel", "d0 d1 d2 d3 d4 d5 d6 d7", 0, with_port},
    {Wire::panel_select, "panel", "select0 select1 select2", 0, with_port},
    {Wire::panel_read, "panel", "read", 0, with_port},
    {Wire::panel_busy, "panel", "busy", 0, with_port},
    {Wire::panel_reset, "panel", "reset", 0, with_port},
    {Wire::parallel_out, "parallel", "out0 out1 out2 out3 out4 out5 out6 out7", 0, with_cpld},
    {Wire::parallel_in, "parallel", "in0 in1 in2 in3 in4 in5 in6 in7", 0, with_cpld},
    {Wire::tx1, "serial", "tx1", 1, all_boards},
    {Wire::rx1, "serial", "rx1", 1, all_boards},
    {Wire::tx2, "serial", "tx2", 1, all_boards},
    {Wire::rx2, "serial", "rx2", 1, all_boards},
    {Wire::lan, "network", "lan_link", 1, all_boards},
    {Wire::wan, "network", "wan_link", 1, all_boards},
    {Wire::keys, "keys",
     "key_0 key_1 key_2 key_3 key_4 key_5 key_6 key_7 key_8 key_9 key_star key_hash key_K key_E "
     "key_A key_C key_D key_M",
     0, with_cpld},
    {Wire::knob1, "knobs", "knob1_a knob1_b", 0, with_cpld},
    {Wire::knob2, "knobs", "knob2_a knob2_b", 0, with_cpld},
    {Wire::phantom, "audio", "phantom1 phantom2", 0, all_boards},
    {Wire::boost, "audio", "boost1 boost2", 0, all_boards},
    {Wire::aes_lock, "audio", "aes_lock", 0, on(Board::aes)},
    {Wire::speaker, "audio", "speaker", 0, all_boards},
};

constexpr unsigned count_of(const WireGroup& group) {
    return static_cast<unsigned>(std::ranges::count(group.names, ' ')) + 1;
}

constexpr std::array<char, std::size(groups)> first_signs = [] {
    std::array<char, std::size(groups)> signs{};
    char next = first_sign;
    for (std::size_t i = 0; i < signs.size(); ++i) {
        signs[i] = next;
        next = static_cast<char>(next + static_cast<char>(count_of(groups[i])));
    }
    return signs;
}();

std::string declarations(const WireGroup& group) {
    std::string text;
    std::string_view rest = group.names;
    for (unsigned bit = 0; bit < count_of(group); ++bit) {
        const std::size_t end = rest.find(' ');
        text.append("$var wire 1 ").append(1, vcd_sign(group.wire, bit)).append(" ");
        text.append(rest.substr(0, end)).append(" $end\n");
        rest.remove_prefix(std::min(end, rest.size() - 1) + 1);
    }
    return text;
}

std::string first_levels(const WireGroup& group) {
    std::string text;
    for (unsigned bit = 0; bit < count_of(group); ++bit)
        text.append((group.idle >> bit & 1) != 0 ? "1" : "0")
            .append(1, vcd_sign(group.wire, bit))
            .append("\n");
    return text;
}

} // namespace

std::span<const WireGroup> wire_groups() { return groups; }

bool is_on(Board board, const WireGroup& group) { return (group.boards & on(board)) != 0; }

char vcd_sign(Wire wire, unsigned bit) {
    return static_cast<char>(first_signs[static_cast<std::size_t>(wire)] + static_cast<char>(bit));
}

Nanoseconds vcd_unit_ns(Board board) { return board == Board::engine ? 100 : 1000; }

std::string vcd_header(Board board) {
    std::string scopes;
    std::string levels;
    std::string_view scope;
    for (const WireGroup& group : groups) {
        if (!is_on(board, group)) continue;
        if (group.scope != scope) {
            if (!scope.empty()) scopes += "$upscope $end\n";
            scope = group.scope;
            scopes.append("$scope module ").append(scope).append(" $end\n");
        }
        scopes += declarations(group);
        levels += first_levels(group);
    }
    const std::string unit = vcd_unit_ns(board) == 1000 ? "1 us" : "100 ns";
    return "$version k4sim $end\n$timescale " + unit + " $end\n" + scopes +
           "$upscope $end\n$enddefinitions $end\n#0\n$dumpvars\n" + levels + "$end\n";
}

} // namespace k4sim
