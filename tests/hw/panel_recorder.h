#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "hw/fplink.h"
#include <gtest/gtest.h>

// A byte on its way to the controller: data (D/C = 1) or command.
struct WireByte {
    bool isData;
    unsigned char value;

    bool operator==(const WireByte&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const WireByte& byte) {
    return out << (byte.isData ? "d" : "c") << std::hex << int{byte.value} << std::dec;
}

// Bytes from a text such as "c15 d05 d06".
inline std::vector<WireByte> wire(const std::string& text) {
    std::vector<WireByte> bytes;
    for (std::size_t at = 0; at + 3 <= text.size(); at += 4)
        bytes.push_back({text[at] == 'd', static_cast<unsigned char>(
                                              std::stoi(text.substr(at + 1, 2), nullptr, 16))});
    return bytes;
}

// A front-panel link that keeps every byte in the order of the wire.
class RecordingLink : public CHfplinkK4 {
public:
    std::vector<WireByte> bytes;

    void init() override {}
    void put_cmd(unsigned char c) override { record(false, {c}); }
    void put_cmd(unsigned short c) override { record(false, {c, c / 256U}); }
    void put_cmd(unsigned int c) override { record(false, {c >> 24, c >> 16, c >> 8, c}); }
    void put_data(unsigned char d) override { record(true, {d}); }
    void put_data(unsigned int d) override { record(true, {d >> 24, d >> 16, d >> 8, d}); }
    int write(int, const void*, int) override { return -1; }
    std::uint32_t keyStatus() override { return 0x0000FFFF; }

    std::vector<WireByte> take() { return std::exchange(bytes, {}); }

private:
    void record(bool isData, std::initializer_list<unsigned int> values) {
        for (const unsigned int value : values)
            bytes.push_back({isData, static_cast<unsigned char>(value)});
    }
};
