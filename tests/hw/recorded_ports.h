#pragma once

#include <cstdint>
#include <cstdio>
#include <deque>
#include <map>
#include <string>

#include "hw/ports.h"
#include "sim/machine/machine.h"
#include <gtest/gtest.h>

/** A port space with scripted answers that writes every access down: "r4" is a read of
    base + 4, "w6=ab" a write; "r@0080" a port far from the base. A port without an answer
    reads 0xFF; the last answer of a port stays. */
class RecordedPorts : public k4sim::PortSpace {
public:
    explicit RecordedPorts(std::uint16_t firstPort = 0xD000) : base(firstPort) {}

    void answer(std::uint16_t port, std::deque<std::uint8_t> values) {
        answers[port] = std::move(values);
    }

    std::uint8_t in(std::uint16_t port) override {
        note("r%s", port, 0);
        std::deque<std::uint8_t>& values = answers[port];
        if (values.empty()) return 0xFF;
        const std::uint8_t value = values.front();
        if (values.size() > 1) values.pop_front();
        return value;
    }

    void out(std::uint16_t port, std::uint8_t value) override { note("w%s=%02x", port, value); }

    /** The accesses since the last call. */
    std::string take() {
        std::string result;
        result.swap(log);
        return result;
    }

private:
    void note(const char* format, std::uint16_t port, unsigned int value) {
        char place[8];
        const bool isNear = port >= base && port - base < 16;
        std::snprintf(place, sizeof place, isNear ? "%x" : "@%04x", isNear ? port - base : port);
        char entry[24];
        std::snprintf(entry, sizeof entry, format, place, value);
        if (!log.empty()) log += ' ';
        log += entry;
    }

    std::uint16_t base;
    std::map<std::uint16_t, std::deque<std::uint8_t>> answers;
    std::string log;
};

/** Puts a port space of the test behind the port instructions, with privilege granted. */
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
