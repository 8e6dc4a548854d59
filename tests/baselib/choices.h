#pragma once
// Bytes that decide what a model does: the input of a fuzz target, or random ones in a test.

#include <cstddef>
#include <cstdint>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

class Choices {
public:
    Choices(const std::uint8_t* bytes, std::size_t size) : next_(bytes), end_(bytes + size) {}

    bool left() const { return next_ != end_; }

    // 0 up to but not including limit. Without bytes left it is 0.
    template <class Limit>
    Limit below(Limit limit) {
        std::uint64_t drawn = 0;
        for (auto reach = static_cast<std::uint64_t>(limit - 1); reach > 0 && left(); reach >>= 8)
            drawn = drawn << 8 | *next_++;
        return static_cast<Limit>(drawn % static_cast<std::uint64_t>(limit));
    }

    int between(int first, int last) { return first + below(last - first + 1); }

    template <class List>
    auto& of(List& list) {
        return list[below(std::size(list))];
    }

    // As many of the characters or pieces, one behind the other.
    template <class List>
    std::string text(const List& list, int longest) {
        std::string result;
        for (int count = below(longest + 1); count > 0; --count)
            result += of(list);
        return result;
    }

private:
    const std::uint8_t* next_;
    const std::uint8_t* end_;
};

// A model throws when the code under test differs, which fails a test and ends a fuzz target.
inline void require(bool holds, const std::string& what) {
    if (!holds) throw std::logic_error(what);
}

// Runs a model on inputs of that many bytes, in every run the same.
template <class Model>
void withRandomInputs(int inputs, std::size_t size, Model model) {
    std::mt19937 random;
    for (std::vector<std::uint8_t> bytes(size); inputs > 0; --inputs) {
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(random());
        Choices choices(bytes.data(), bytes.size());
        model(choices);
    }
}
