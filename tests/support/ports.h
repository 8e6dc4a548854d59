// A port space of a test's own behind the port instructions.
#pragma once

#include "hw/ports.h"
#include "sim/machine/machine.h"

#include <cstdint>
#include <cstdio>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <utility>

// Answers as scripted and writes every access down: "r4" is a read of base + 4, "w6=ab" a write;
// "r@0080" is a port far from the base.
class ScriptedPorts : public k4sim::PortSpace {
public:
    // Ports without a script of their own read what this says.
    using Reading = std::function<int(std::uint16_t port)>;

    explicit ScriptedPorts(
        std::uint16_t base = 0xD000, Reading others = [](std::uint16_t) { return 0xFF; })
        : base_(base), others_(std::move(others)) {}

    // The next reads of the port; the last value stays.
    void answer(std::uint16_t port, std::deque<std::uint8_t> values) {
        answers_[port] = std::move(values);
    }

    std::uint8_t in(std::uint16_t port) override {
        note("r%s", port, 0);
        std::deque<std::uint8_t>& values = answers_[port];
        if (values.empty()) return static_cast<std::uint8_t>(others_(port));
        const std::uint8_t value = values.front();
        if (values.size() > 1) values.pop_front();
        return value;
    }

    void out(std::uint16_t port, std::uint8_t value) override { note("w%s=%02x", port, value); }

    // The accesses since the last call.
    std::string take() { return std::exchange(log_, {}); }

private:
    void note(const char* format, std::uint16_t port, unsigned value) {
        char place[8];
        const bool is_near = port >= base_ && port - base_ < 16;
        std::snprintf(place, sizeof place, is_near ? "%x" : "@%04x", is_near ? port - base_ : port);
        char entry[24];
        std::snprintf(entry, sizeof entry, format, place, value);
        if (!log_.empty()) log_ += ' ';
        log_ += entry;
    }

    std::uint16_t base_;
    Reading others_;
    std::map<std::uint16_t, std::deque<std::uint8_t>> answers_;
    std::string log_;
};

// Puts it there, with privilege granted, until it goes.
class AttachedPorts {
public:
    explicit AttachedPorts(k4sim::PortSpace& ports) {
        k4sim::machine().set_privilege_refused(false);
        k4sim::machine().attach_ports(&ports);
        EXPECT_TRUE(portRequestPrivilege());
    }
    ~AttachedPorts() { k4sim::machine().attach_ports(nullptr); }
    AttachedPorts(const AttachedPorts&) = delete;
    AttachedPorts& operator=(const AttachedPorts&) = delete;
};
