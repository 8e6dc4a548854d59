// What is played of the processor, against the processor itself.
#include "sim/processor/step.h"

#ifdef __i386__

#include "sim/processor/arithmetic.h"

#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <sys/mman.h>
#include <vector>

namespace {

using namespace k4sim;

using Bytes = std::vector<std::uint8_t>;
using Data = std::array<std::uint32_t, 64>;

constexpr std::uint32_t defined_always = carry_flag | parity_flag | zero_flag | sign_flag;
constexpr std::uint32_t all_flags = defined_always | adjust_flag | overflow_flag;
constexpr std::uint32_t without_adjust = all_flags & ~adjust_flag;

// In the order in which popa and popf take them.
struct Image {
    std::uint32_t edi, esi, ebp, unused, ebx, edx, ecx, eax, flags;
};

// One or more instructions, from hexadecimal bytes; flags that they leave undefined are not in
// `flags`. esi points to data, edi is a small number.
struct Case {
    std::string code;
    std::uint32_t flags = all_flags;
    bool by_word = true; // with 16-bit operands, too
};

Bytes bytes_of(const std::string& text) {
    Bytes bytes;
    for (std::size_t i = 0; i < text.size(); i += 3)
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(text.substr(i, 2), nullptr, 16)));
    return bytes;
}

std::uint32_t address_of(const void* place) { return reinterpret_cast<std::uintptr_t>(place); }

// Code that loads the registers, the instructions, and code that stores them.
class Bench {
public:
    std::uint32_t put(const Bytes& instructions) {
        used_ = 0;
        add({0x60, 0x89, 0x25}, &own_stack_);  // pusha; mov %esp, own_stack_
        add({0xBC}, &image);                   // mov $image, %esp
        add({0x61, 0x9D, 0x8B, 0x25}, &stack); // popa; popf; mov stack, %esp
        const std::uint32_t begin = address_of(page_ + used_);
        add(instructions);
        end = address_of(page_ + used_);
        add({0x89, 0x25}, &stack);                  // mov %esp, stack
        add({0xBC}, &image + 1);                    // mov $image + 1, %esp
        add({0x9C, 0x60, 0x8B, 0x25}, &own_stack_); // pushf; pusha; mov own_stack_, %esp
        add({0x61, 0xC3});                          // popa; ret
        return begin;
    }

    void run() { reinterpret_cast<void (*)()>(page_)(); }

    Image image{};
    std::uint32_t stack = 0;
    std::uint32_t end = 0;

private:
    void add(const Bytes& bytes) {
        std::memcpy(page_ + used_, bytes.data(), bytes.size());
        used_ += bytes.size();
    }
    void add(const Bytes& bytes, const void* place) {
        add(bytes);
        const std::uint32_t address = address_of(place);
        std::memcpy(page_ + used_, &address, sizeof address);
        used_ += sizeof address;
    }

    std::uint8_t* page_ = static_cast<std::uint8_t*>(mmap(
        nullptr, 4096, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    std::size_t used_ = 0;
    std::uint32_t own_stack_ = 0;
};

// Of both: registers, flags that are defined, and data with the stack in it.
struct Outcome {
    std::array<std::uint32_t, 8> general;
    std::uint32_t flags;
    Data data;

    bool operator==(const Outcome&) const = default;
};

class Trial {
public:
    explicit Trial(const Bytes& code) : begin_(bench_.put(code)) {}

    void holds(std::uint32_t defined) {
        for (std::uint32_t& word : data_)
            word = any();
        const Data former = data_;
        const std::uint32_t data = address_of(&data_[32]), stack = address_of(&data_[16]);
        const Image start{
            any() & 3, data, any(), 0, any(), any(), any(), any(), (any() & all_flags) | 0x202};
        Registers played{
            {start.eax, start.ecx, start.edx, start.ebx, stack, start.ebp, start.esi, start.edi},
            begin_,
            start.flags,
            0};
        while (played.instruction != bench_.end)
            ASSERT_TRUE(step(played));
        const Outcome seen{played.general, played.flags & defined, data_};
        data_ = former;
        bench_.image = start;
        bench_.stack = stack;
        bench_.run();
        const Image& image = bench_.image;
        const Outcome real{{image.eax, image.ecx, image.edx, image.ebx, bench_.stack, image.ebp,
                            image.esi, image.edi},
                           image.flags & defined,
                           data_};
        ASSERT_EQ(seen.general, real.general);
        ASSERT_EQ(seen.flags, real.flags);
        ASSERT_TRUE(seen.data == real.data);
    }

private:
    // Often at the edges of a byte, a word or more.
    std::uint32_t any() {
        constexpr std::uint32_t edges[] = {
            0, 1, 0x7F, 0x80, 0xFF, 0x7FFF, 0x8000, 0xFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
        const std::uint32_t number = random_();
        return number % 3 == 0 ? number : edges[number / 3 % std::size(edges)];
    }

    Bench bench_;
    std::uint32_t begin_;
    Data data_{};
    std::mt19937 random_{1};
};

const std::vector<Case> cases = {
    {"84 E1", without_adjust},
    {"85 46 08", without_adjust},
    {"A8 81", without_adjust},
    {"F7 C1 80 00 00 80", without_adjust, false},
    {"F6 46 01 80", without_adjust},
    {"F7 D1"},
    {"F6 D5"},
    {"F7 D9"},
    {"F6 5E 04"},
    {"FE C4"},
    {"FF 46 FC"},
    {"FE 4E 03"},
    {"40"},
    {"4B"},
    {"0F C8", all_flags, false},
    {"98"},
    {"99"},
    {"83 C1 FF"},
    {"83 56 08 80"},
    {"80 6C BE 04 7F"},
    {"82 D9 80"},
    {"81 C1 00 00 00 80", all_flags, false},
    {"66 81 7E 02 00 80", all_flags, false},
    {"88 64 BE 01"},
    {"89 86 10 00 00 00", all_flags, false},
    {"8A 2E"},
    {"8B 4C FE F0"},
    {"8D 44 8E FB", all_flags, false},
    {"66 8D 44 8E FB", all_flags, false},
    {"C6 46 03 AB"},
    {"66 C7 46 03 AB CD", all_flags, false},
    {"C7 06 01 02 03 04", all_flags, false},
    {"B4 7F"},
    {"BB 01 02 03 04", all_flags, false},
    {"66 B9 01 02", all_flags, false},
    {"D1 E1", without_adjust},
    {"D0 E5", without_adjust},
    {"D1 E9", without_adjust},
    {"D0 6E 01", without_adjust},
    {"D1 F9", without_adjust},
    {"D0 7E 01", without_adjust},
    {"C1 E1 07", defined_always},
    {"C0 ED 03", defined_always},
    {"C1 7E 04 0F", defined_always},
    {"D3 E0", defined_always, false},
    {"D3 E8", defined_always, false},
    {"D3 F8", defined_always, false},
    {"C1 E0 20", all_flags, false},
    {"50 5B", all_flags, false},
    {"54 58", all_flags, false},
    {"5C 89 F4", all_flags, false},
    {"6A 80 59", all_flags, false},
    {"68 01 02 03 04 58", all_flags, false},
    {"FF 76 04 58", all_flags, false},
    {"89 E5 55 C9", all_flags, false}, // a frame, and leave
    {"E8 01 00 00 00 40 58", all_flags, false},
    {"EB 01 40", all_flags, false},
    {"E9 01 00 00 00 40", all_flags, false},
    {"E8 00 00 00 00 83 04 24 05 C3", all_flags, false}, // to the instruction after it
    {"6A 01 E8 00 00 00 00 83 04 24 07 C2 04 00", all_flags, false},
    {"E8 00 00 00 00 58 83 C0 06 FF E0", all_flags, false},
    {"E8 00 00 00 00 58 83 C0 06 FF D0", all_flags, false},
    {"0F B6 C5"},
    {"0F B7 4E 02", all_flags, false},
    {"0F BE C5"},
    {"0F BF 4E 02", all_flags, false},
    {"0F 1F 44 00 00"},
    {"90"},
};

TEST(Step, DoesWhatTheProcessorDoes) {
    std::vector<Case> all = cases;
    const auto add = [&](int opcode, const char* rest, std::uint32_t flags, bool by_word = true) {
        char code[8];
        std::snprintf(code, sizeof code, "%s%02X", opcode > 0xFF ? "0F " : "", opcode & 0xFF);
        all.push_back({code + std::string(rest), flags, by_word});
    };
    for (int operation = 0; operation < 8; ++operation) {
        const bool logical = operation == 1 || operation == 4 || operation == 6;
        const std::uint32_t flags = logical ? without_adjust : all_flags;
        for (int form = 0; form < 4; ++form) {
            add(8 * operation + form, " E1", flags);
            add(8 * operation + form, " 6C BE 08", flags);
        }
        add(8 * operation + 4, " 80", flags);
        add(8 * operation + 5, " 00 00 00 80", flags, false);
    }
    for (int condition = 0; condition < 16; ++condition) {
        add(0x70 + condition, " 01 40", all_flags, false);
        add(0x180 + condition, " 01 00 00 00 40", all_flags, false);
        add(0x190 + condition, " C5", all_flags, false);
        add(0x140 + condition, " 4E 08", all_flags);
    }
    for (const Case& one : all)
        for (const std::string& prefix : {std::string(), std::string("66 ")}) {
            if (!prefix.empty() && !one.by_word) continue;
            SCOPED_TRACE(prefix + one.code);
            Trial trial(bytes_of(prefix + one.code));
            for (int round = 0; round < 200 && !testing::Test::HasFatalFailure(); ++round)
                trial.holds(one.flags);
        }
}

TEST(Step, LeavesTheRestToTheProcessor) {
    for (const char* code : {"EE", "CC", "CD 80", "F4", "0F A2", "D9 C0", "F0 01 06", "F3 90", "FB",
                             "66 50", "66 C3", "D3 C0", "F7 E1", "8D C0", "C7 F8 00 00 00 00"}) {
        Bytes bytes = bytes_of(code);
        Data data{};
        const auto begin = address_of(bytes.data()), place = address_of(&data[32]);
        Registers registers{{place, place, place, place, place, place, place, place}, begin, 2, 0};
        const Registers former = registers;
        EXPECT_FALSE(step(registers)) << code;
        EXPECT_TRUE(registers.general == former.general && registers.instruction == begin &&
                    registers.flags == 2 && data == Data{})
            << code;
    }
}

} // namespace

#endif
