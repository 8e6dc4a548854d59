// The virtual device of the test program, as one board or another.
#pragma once

#include "sim/machine/machine.h"

#include <gtest/gtest.h>

// A new device of that board, with nobody at its panel and no events yet.
inline void use_board(k4sim::Board board) {
    k4sim::Setup setup;
    setup.board = board;
    k4sim::machine().reset(setup);
    k4sim::machine().clear_events();
}

// Each test begins with a device of the board aes, and leaves one behind.
class BoardTest : public testing::Test {
protected:
    BoardTest() { use_board(k4sim::Board::aes); }
    ~BoardTest() override { use_board(k4sim::Board::aes); }
};

// Events of the source with that name; all of the source without one.
inline int count_events(std::string_view source, std::string_view what = "") {
    int count = 0;
    for (const k4sim::Event& event : k4sim::machine().events())
        if (event.source == source && (what.empty() || event.what == what)) ++count;
    return count;
}
