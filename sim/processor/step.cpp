#include "sim/processor/step.h"

#include "sim/processor/arithmetic.h"

#include <algorithm>
#include <cstring>

namespace k4sim {

namespace {

// Memory of the program.
template <typename Value>
Value read_memory(std::uint32_t address) {
    Value value;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): an address of the program
    std::memcpy(&value, reinterpret_cast<const void*>(std::uintptr_t{address}), sizeof value);
    return value;
}

template <typename Value>
void write_memory(std::uint32_t address, std::uint32_t value) {
    const auto part = static_cast<Value>(value);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): an address of the program
    std::memcpy(reinterpret_cast<void*>(std::uintptr_t{address}), &part, sizeof part);
}

std::uint32_t read_memory(std::uint32_t address, int size) {
    if (size == 1) return read_memory<std::uint8_t>(address);
    if (size == 2) return read_memory<std::uint16_t>(address);
    return read_memory<std::uint32_t>(address);
}

void write_memory(std::uint32_t address, int size, std::uint32_t value) {
    if (size == 1) return write_memory<std::uint8_t>(address, value);
    if (size == 2) return write_memory<std::uint16_t>(address, value);
    write_memory<std::uint32_t>(address, value);
}

std::uint32_t extended(std::uint32_t value, int size) {
    if (size == 1) return static_cast<std::uint32_t>(static_cast<std::int8_t>(value));
    if (size == 2) return static_cast<std::uint32_t>(static_cast<std::int16_t>(value));
    return value;
}

// A register by its number, or memory.
struct Operand {
    int number = -1; // -1: memory
    std::uint32_t address = 0;
};

// One instruction while it is played.
class Step {
public:
    explicit Step(Registers& registers) : r(registers), next_(registers.instruction) {}

    std::uint8_t byte() { return read_memory<std::uint8_t>(next_++); }

    // A number in the code, of 1, 2 or 4 bytes.
    std::uint32_t number(int size) {
        next_ += static_cast<std::uint32_t>(size);
        return read_memory(next_ - static_cast<std::uint32_t>(size), size);
    }
    std::uint32_t signed_byte() { return extended(number(1), 1); }

    // The operand that may be memory; the other, a register or a part of the opcode, is `field`.
    Operand operand() {
        const int mode = byte();
        field = mode >> 3 & 7;
        const int base = mode & 7;
        if (mode >> 6 == 3) return {base};
        return {-1, segment + displaced(mode >> 6, base)};
    }

    std::uint32_t read(Operand operand, int size) const {
        if (operand.number < 0) return read_memory(operand.address, size);
        if (size > 1) return r.general[static_cast<unsigned>(operand.number)] & mask_of(size);
        return r.general[operand.number & 3] >> part(operand) & 0xFF;
    }

    void write(Operand operand, int size, std::uint32_t value) {
        if (operand.number < 0) return write_memory(operand.address, size, value);
        std::uint32_t& target = r.general[size > 1 ? operand.number : operand.number & 3];
        const int shift = size > 1 ? 0 : part(operand);
        const std::uint32_t mask = mask_of(size) << shift;
        target = (target & ~mask) | (value << shift & mask);
    }

    void push(std::uint32_t value) {
        write_memory<std::uint32_t>(r.general[esp] - 4, value);
        r.general[esp] -= 4;
    }

    void jump(std::uint32_t address) { next_ = address; }
    std::uint32_t next() const { return next_; }
    // The size that the lowest bit of the opcode chooses.
    int size() const { return (opcode & 1) == 0 ? 1 : word; }

    Registers& r;
    std::uint8_t opcode = 0;
    int word = 4;              // bytes of an operand that is no byte
    int field = 0;             // see operand()
    std::uint32_t segment = 0; // where memory operands begin

private:
    // 8: the register's second byte.
    static int part(Operand operand) { return operand.number < 4 ? 0 : 8; }

    std::uint32_t displaced(int mode, int base) {
        const bool is_absolute = mode == 0 && base == 5;
        std::uint32_t address = 0;
        if (base == esp)
            address = indexed(mode);
        else if (!is_absolute)
            address = r.general[static_cast<unsigned>(base)];
        if (mode == 1) return address + signed_byte();
        return mode == 2 || is_absolute ? address + number(4) : address;
    }

    std::uint32_t indexed(int mode) {
        const unsigned scale = byte();
        const unsigned index = scale >> 3 & 7, base = scale & 7;
        const std::uint32_t offset = index == esp ? 0 : r.general[index] << (scale >> 6);
        return offset + (base == ebp && mode == 0 ? number(4) : r.general[base]);
    }

    std::uint32_t next_; // of the code
};

// One a row of the table below: false when this instruction stays to the processor.
using Player = bool (*)(Step&);

bool unknown(Step&) { return false; }

// The stack and the next instruction are changed by whole words only.
template <Player player>
bool whole(Step& s) {
    return s.word == 4 && player(s);
}

// `operation` makes of the former value and flags the new ones. The flags change last, so that a
// page fault leaves all as it was.
template <typename Change>
void change(Step& s, Operand target, int size, Change operation) {
    std::uint32_t flags = s.r.flags;
    s.write(target, size, operation(s.read(target, size), flags));
    s.r.flags = flags;
}

void calculate_into(Step& s, Operation operation, Operand target, std::uint32_t b, int size) {
    if (operation == Operation::cmp) {
        calculate(operation, s.read(target, size), b, size, s.r.flags);
        return;
    }
    change(s, target, size, [&](std::uint32_t a, std::uint32_t& flags) {
        return calculate(operation, a, b, size, flags);
    });
}

bool arithmetic(Step& s) {
    const auto operation = static_cast<Operation>(s.opcode >> 3 & 7);
    const int size = s.size();
    if ((s.opcode & 4) != 0) {
        calculate_into(s, operation, {eax}, s.number(size), size);
        return true;
    }
    const Operand memory = s.operand();
    const bool to_register = (s.opcode & 2) != 0;
    const Operand target = to_register ? Operand{s.field} : memory;
    calculate_into(s, operation, target, s.read(to_register ? memory : Operand{s.field}, size),
                   size);
    return true;
}

bool arithmetic_with_number(Step& s) {
    const Operand target = s.operand();
    const int size = s.size();
    const std::uint32_t number =
        s.opcode == 0x83 ? s.signed_byte() & mask_of(size) : s.number(size);
    calculate_into(s, static_cast<Operation>(s.field), target, number, size);
    return true;
}

bool test(Step& s) {
    const Operand memory = s.operand();
    calculate(Operation::bit_and, s.read(memory, s.size()), s.read({s.field}, s.size()), s.size(),
              s.r.flags);
    return true;
}

bool test_accumulator(Step& s) {
    calculate(Operation::bit_and, s.read({eax}, s.size()), s.number(s.size()), s.size(), s.r.flags);
    return true;
}

bool increase_register(Step& s) {
    change(s, {s.opcode & 7}, s.word, [&](std::uint32_t a, std::uint32_t& flags) {
        return ((s.opcode & 8) == 0 ? increase : decrease)(a, s.word, flags);
    });
    return true;
}

bool push_register(Step& s) {
    s.push(s.read({s.opcode & 7}, 4));
    return true;
}

bool pop_register(Step& s) {
    const auto value = read_memory<std::uint32_t>(s.r.general[esp]);
    s.r.general[esp] += 4;
    s.write({s.opcode & 7}, 4, value);
    return true;
}

bool push_number(Step& s) {
    s.push(s.opcode == 0x6A ? s.signed_byte() : s.number(4));
    return true;
}

bool turn_bytes(Step& s) {
    const Operand target{s.opcode & 7};
    s.write(target, 4, __builtin_bswap32(s.read(target, 4)));
    return true;
}

bool jump_short_if(Step& s) {
    const std::uint32_t distance = s.signed_byte();
    if (holds(s.opcode & 15, s.r.flags)) s.jump(s.next() + distance);
    return true;
}

bool jump_if(Step& s) {
    const std::uint32_t distance = s.number(4);
    if (holds(s.opcode & 15, s.r.flags)) s.jump(s.next() + distance);
    return true;
}

bool jump(Step& s) {
    const std::uint32_t distance = s.opcode == 0xEB ? s.signed_byte() : s.number(4);
    s.jump(s.next() + distance);
    return true;
}

bool call(Step& s) {
    const std::uint32_t distance = s.number(4);
    s.push(s.next());
    s.jump(s.next() + distance);
    return true;
}

bool give_back(Step& s) {
    return_from_call(s.r, s.opcode == 0xC2 ? s.number(2) : 0);
    s.jump(s.r.instruction);
    return true;
}

bool leave(Step& s) {
    const auto former = read_memory<std::uint32_t>(s.r.general[ebp]);
    s.r.general[esp] = s.r.general[ebp] + 4;
    s.r.general[ebp] = former;
    return true;
}

bool move(Step& s) {
    const Operand memory = s.operand();
    const bool to_register = (s.opcode & 2) != 0;
    const Operand source = to_register ? memory : Operand{s.field};
    s.write(to_register ? Operand{s.field} : memory, s.size(), s.read(source, s.size()));
    return true;
}

bool move_number(Step& s) {
    const Operand target = s.operand();
    if (s.field != 0) return false;
    s.write(target, s.size(), s.number(s.size()));
    return true;
}

bool move_number_to_register(Step& s) {
    const int size = (s.opcode & 8) == 0 ? 1 : s.word;
    s.write({s.opcode & 7}, size, s.number(size));
    return true;
}

bool move_accumulator(Step& s) {
    const Operand memory{-1, s.segment + s.number(4)};
    if ((s.opcode & 2) == 0)
        s.write({eax}, s.size(), s.read(memory, s.size()));
    else
        s.write(memory, s.size(), s.read({eax}, s.size()));
    return true;
}

bool load_address(Step& s) {
    s.segment = 0;
    const Operand memory = s.operand();
    if (memory.number >= 0) return false;
    s.write({s.field}, s.word, memory.address);
    return true;
}

bool extend_accumulator(Step& s) { // 98: to its double size; 99: its sign into edx
    const int half = s.opcode == 0x98 ? s.word / 2 : s.word;
    const std::uint32_t value = extended(s.read({eax}, half), half);
    if (s.opcode == 0x98)
        s.write({eax}, s.word, value);
    else
        s.write({edx}, s.word, value >> 31 != 0 ? 0xFFFFFFFF : 0);
    return true;
}

bool shift_operand(Step& s) {
    const Operand target = s.operand();
    const auto kind = static_cast<Shift>(s.field);
    if (kind != Shift::shl && kind != Shift::shr && kind != Shift::sar) return false;
    unsigned count = 1;
    if (s.opcode < 0xD0)
        count = s.byte();
    else if (s.opcode >= 0xD2)
        count = s.read({ecx}, 1);
    change(s, target, s.size(), [&](std::uint32_t a, std::uint32_t& flags) {
        return shift(kind, a, count, s.size(), flags);
    });
    return true;
}

bool test_or_negate(Step& s) {
    const Operand target = s.operand();
    const int size = s.size();
    const std::uint32_t value = s.read(target, size);
    if (s.field == 0) {
        calculate(Operation::bit_and, value, s.number(size), size, s.r.flags);
    } else if (s.field == 2) {
        s.write(target, size, ~value & mask_of(size));
    } else if (s.field == 3) {
        change(s, target, size, [size](std::uint32_t a, std::uint32_t& flags) {
            return calculate(Operation::sub, 0, a, size, flags);
        });
    } else {
        return false; // multiplication and division
    }
    return true;
}

bool increase_or_call(Step& s) {
    const Operand target = s.operand();
    const int size = s.size();
    if (s.field <= 1) {
        change(s, target, size, [&](std::uint32_t a, std::uint32_t& flags) {
            return (s.field == 0 ? increase : decrease)(a, size, flags);
        });
        return true;
    }
    if (size != 4) return false;
    const std::uint32_t value = s.read(target, size);
    if (s.field == 6) {
        s.push(value);
        return true;
    }
    if (s.field == 2) s.push(s.next());
    if (s.field == 2 || s.field == 4) s.jump(value);
    return s.field == 2 || s.field == 4;
}

bool nothing(Step&) { return true; }

bool nothing_at_operand(Step& s) {
    s.operand();
    return true;
}

bool move_if(Step& s) {
    const std::uint32_t value = s.read(s.operand(), s.word);
    if (holds(s.opcode & 15, s.r.flags)) s.write({s.field}, s.word, value);
    return true;
}

bool set_if(Step& s) {
    const Operand target = s.operand();
    s.write(target, 1, holds(s.opcode & 15, s.r.flags) ? 1 : 0);
    return true;
}

bool move_extended(Step& s) { // B6, B7: with zeros; BE, BF: with the sign
    const int size = (s.opcode & 1) == 0 ? 1 : 2;
    const std::uint32_t value = s.read(s.operand(), size);
    s.write({s.field}, s.word, s.opcode < 0xBE ? value : extended(value, size));
    return true;
}

// By the opcode's byte; of those that begin with 0F, the second one.
struct Players {
    Player one[256];
    Player two[256];
};

struct Row {
    int first, last;
    Player player;
};
constexpr Row one_byte[] = {
    {0x40, 0x4F, increase_register},
    {0x50, 0x57, whole<push_register>},
    {0x58, 0x5F, whole<pop_register>},
    {0x68, 0x68, whole<push_number>},
    {0x6A, 0x6A, whole<push_number>},
    {0x70, 0x7F, whole<jump_short_if>},
    {0x80, 0x83, arithmetic_with_number},
    {0x84, 0x85, test},
    {0x88, 0x8B, move},
    {0x8D, 0x8D, load_address},
    {0x90, 0x90, nothing},
    {0x98, 0x99, extend_accumulator},
    {0xA0, 0xA3, move_accumulator},
    {0xA8, 0xA9, test_accumulator},
    {0xB0, 0xBF, move_number_to_register},
    {0xC0, 0xC1, shift_operand},
    {0xC2, 0xC3, whole<give_back>},
    {0xC6, 0xC7, move_number},
    {0xC9, 0xC9, whole<leave>},
    {0xD0, 0xD3, shift_operand},
    {0xE8, 0xE8, whole<call>},
    {0xE9, 0xE9, whole<jump>},
    {0xEB, 0xEB, whole<jump>},
    {0xF6, 0xF7, test_or_negate},
    {0xFE, 0xFF, increase_or_call},
};
constexpr Row two_bytes[] = {
    {0x1F, 0x1F, nothing_at_operand}, {0x40, 0x4F, move_if},
    {0x80, 0x8F, whole<jump_if>},     {0x90, 0x9F, set_if},
    {0xB6, 0xB7, move_extended},      {0xBE, 0xBF, move_extended},
    {0xC8, 0xCF, whole<turn_bytes>},
};

constexpr Players players = [] {
    Players table{};
    std::ranges::fill(table.one, unknown);
    std::ranges::fill(table.two, unknown);
    const auto put = [](Player* table_of, const Row& row) {
        std::fill(table_of + row.first, table_of + row.last + 1, row.player);
    };
    for (int operation = 0; operation < 8; ++operation)
        put(table.one, {8 * operation, 8 * operation + 5, arithmetic});
    for (const Row& row : one_byte)
        put(table.one, row);
    for (const Row& row : two_bytes)
        put(table.two, row);
    return table;
}();

constexpr std::uint8_t by_gs = 0x65, by_word = 0x66, second_page = 0x0F;

} // namespace

void return_from_call(Registers& registers, std::uint32_t arguments) {
    registers.instruction = read_memory<std::uint32_t>(registers.general[esp]);
    registers.general[esp] += 4 + arguments;
}

bool step(Registers& registers) {
    Step s(registers);
    s.opcode = s.byte();
    for (; s.opcode == by_gs || s.opcode == by_word; s.opcode = s.byte()) {
        if (s.opcode == by_gs) s.segment = registers.gs_base;
        if (s.opcode == by_word) s.word = 2;
    }
    const Player* const row = s.opcode == second_page ? players.two : players.one;
    if (s.opcode == second_page) s.opcode = s.byte();
    if (!row[s.opcode](s)) return false;
    registers.instruction = s.next();
    return true;
}

} // namespace k4sim
