#pragma once

#include <cstddef>
#include <map>
#include <ostream>
#include <string>
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
    std::size_t messages = 0;
    unsigned int keyWord = 0x0000FFFF;

    void init() override {}
    void put_cmd(unsigned char c) override { record(false, {c}); }
    void put_cmd(unsigned short c) override { record(false, {c, c / 256U}); }
    void put_cmd(unsigned int c) override { record(false, {c >> 24, c >> 16, c >> 8, c}); }
    void put_data(unsigned char d) override { record(true, {d}); }
    void put_data(unsigned int d) override { record(true, {d >> 24, d >> 16, d >> 8, d}); }
    int write(int, const void*, int) override { return -1; }
    std::uint32_t keyStatus() override { return keyWord; }

    void clear() {
        bytes.clear();
        messages = 0;
    }

    // Bytes on the I2C wire: address and message kind, then the contents.
    std::size_t i2cBytes() const { return bytes.size() + 2 * messages; }

private:
    void record(bool isData, std::initializer_list<unsigned int> values) {
        ++messages;
        for (const unsigned int value : values)
            bytes.push_back({isData, static_cast<unsigned char>(value)});
    }
};

// The display memory of a controller chip with its two windows and its pointer.
class ChipMemory {
public:
    ChipMemory(int columns, int rows, int bytesPerColumn)
        : bytesPerRow(columns * bytesPerColumn),
          bytesPerColumn_(bytesPerColumn), columnWindow{0, columns - 1}, rowWindow{0, rows - 1},
          columnMax(columns - 1), rowMax(rows - 1),
          bytes(static_cast<std::size_t>(bytesPerRow * rows), 0xEE) {}

    void setColumns(int first, int last) {
        EXPECT_LE(first, last);
        EXPECT_LE(last, columnMax);
        columnWindow = {first, last};
        offset = first * bytesPerColumn_;
    }

    void setRows(int first, int last) {
        EXPECT_LE(first, last);
        EXPECT_LE(last, rowMax);
        rowWindow = {first, last};
        row = first;
    }

    void store(unsigned char value) {
        bytes.at(static_cast<std::size_t>(row * bytesPerRow + offset)) = value;
        if (++offset < (columnWindow.last + 1) * bytesPerColumn_) return;
        offset = columnWindow.first * bytesPerColumn_;
        row = row == rowWindow.last ? rowWindow.first : row + 1;
    }

    unsigned char at(int y, int byteInRow) const {
        return bytes.at(static_cast<std::size_t>(y * bytesPerRow + byteInRow));
    }

private:
    struct Window {
        int first;
        int last;
    };

    int bytesPerRow;
    int bytesPerColumn_;
    Window columnWindow;
    Window rowWindow;
    int columnMax;
    int rowMax;
    std::vector<unsigned char> bytes;
    int offset = 0;
    int row = 0;
};

// What a controller chip makes of a byte stream, after its data sheet.
class ChipDecoder {
public:
    virtual ~ChipDecoder() = default;
    virtual int grey(int x, int y) const = 0;

    void feed(const std::vector<WireByte>& stream) {
        for (const WireByte& byte : stream)
            take(byte);
        EXPECT_EQ(missingParameters, 0U) << "command without all its parameters";
    }

    bool isAwake() const { return isOn; }
    unsigned char pictureMode() const { return mode; }

    // The parameters of the last command of that code.
    std::vector<int> registers(unsigned char code) const {
        const auto found = parameters.find(code);
        return found == parameters.end() ? std::vector<int>{} : found->second;
    }

protected:
    ChipDecoder(int columns, int rows, int bytesPerColumn)
        : memory(columns, rows, bytesPerColumn) {}

    virtual void take(const WireByte& byte) = 0;
    virtual int parameterCount(unsigned char code) const = 0;

    void command(unsigned char code) {
        EXPECT_EQ(missingParameters, 0U)
            << "command " << int{code} << " in the parameters of " << int{current};
        current = code;
        const int count = parameterCount(code);
        EXPECT_GE(count, 0) << "unknown command " << std::hex << int{code};
        missingParameters = static_cast<std::size_t>(count < 0 ? 0 : count);
        parameters[code].clear();
        if (code == 0xAE || code == 0xAF) isOn = code == 0xAF;
        if (code >= 0xA4 && code <= 0xA7) mode = code;
    }

    void parameter(unsigned char value) {
        std::vector<int>& values = parameters[current];
        values.push_back(value);
        if (--missingParameters > 0) return;
        if (current == 0x15) memory.setColumns(values[0], values[1]);
        if (current == 0x75) memory.setRows(values[0], values[1]);
    }

    ChipMemory memory;
    unsigned char current = 0;
    std::size_t missingParameters = 0;

private:
    bool isOn = false;
    unsigned char mode = 0;
    std::map<unsigned char, std::vector<int>> parameters;
};

// SSD1362: parameters are commands, data goes to the memory; with remap 0xC3 the left one
// of two pixels is in the high nibble.
class DecoderSSD1362 : public ChipDecoder {
public:
    DecoderSSD1362() : ChipDecoder(128, 64, 1) {}

    int grey(int x, int y) const override {
        return memory.at(y, x / 2) >> (x % 2 == 0 ? 4 : 0) & 15;
    }

private:
    void take(const WireByte& byte) override {
        if (byte.isData)
            memory.store(byte.value);
        else if (missingParameters > 0)
            parameter(byte.value);
        else
            command(byte.value);
    }

    int parameterCount(unsigned char code) const override {
        static const std::map<unsigned char, int> counts = {
            {0x15, 2}, {0x75, 2}, {0x81, 1}, {0xA0, 1}, {0xA1, 1}, {0xA2, 1}, {0xA3, 2},
            {0xA4, 0}, {0xA5, 0}, {0xA6, 0}, {0xA7, 0}, {0xA8, 1}, {0xAB, 1}, {0xAD, 1},
            {0xAE, 0}, {0xAF, 0}, {0xB1, 1}, {0xB3, 1}, {0xB5, 1}, {0xB6, 1}, {0xB8, 15},
            {0xB9, 0}, {0xBC, 1}, {0xBD, 1}, {0xBE, 1}, {0xFD, 1}, {0x23, 1}};
        const auto found = counts.find(code);
        return found == counts.end() ? -1 : found->second;
    }
};

// SSD1322: parameters are data, and so are pixels, after command 0x5C; x = 0 is column
// 0x1C, and with remap 0x14 the four pixels of a column come from left to right.
class DecoderSSD1322 : public ChipDecoder {
public:
    DecoderSSD1322() : ChipDecoder(120, 128, 2) {}

    int grey(int x, int y) const override {
        const int segment = x + 0x1C * 4;
        return memory.at(y, segment / 2) >> (segment % 2 == 0 ? 4 : 0) & 15;
    }

private:
    void take(const WireByte& byte) override {
        if (!byte.isData)
            command(byte.value);
        else if (missingParameters > 0)
            parameter(byte.value);
        else if (current == 0x5C)
            memory.store(byte.value);
        else
            ADD_FAILURE() << "data without meaning after command " << int{current};
    }

    int parameterCount(unsigned char code) const override {
        static const std::map<unsigned char, int> counts = {
            {0x00, 0}, {0x15, 2}, {0x5C, 0}, {0x75, 2}, {0xA0, 2}, {0xA1, 1},  {0xA2, 1}, {0xA4, 0},
            {0xA5, 0}, {0xA6, 0}, {0xA7, 0}, {0xA8, 2}, {0xA9, 0}, {0xAB, 1},  {0xAE, 0}, {0xAF, 0},
            {0xB1, 1}, {0xB3, 1}, {0xB4, 2}, {0xB5, 1}, {0xB6, 1}, {0xB8, 15}, {0xB9, 0}, {0xBB, 1},
            {0xBE, 1}, {0xC1, 1}, {0xC7, 1}, {0xCA, 1}, {0xD1, 2}, {0xFD, 1}};
        const auto found = counts.find(code);
        return found == counts.end() ? -1 : found->second;
    }
};
