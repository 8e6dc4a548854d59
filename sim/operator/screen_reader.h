// Reads texts off the OLED, as a person does who knows the program's letters.
#pragma once

#include "sim/models/panel/oled.h"

#include <string>
#include <vector>

namespace k4sim {

// One row of the status table.
struct ScreenRow {
    std::string label;
    std::string status;
};

// The text in the picture whose letters' top row is y, from column x0 up to but not
// including column x1; without blanks at its end. Ends with "?" where something is no
// letter, such as one that the edge cuts off; empty when that is so from the start.
std::string read_text(const Picture& picture, int x0, int x1, int y);

// The rows of the status table from the top; none when no row has a label.
std::vector<ScreenRow> read_screen(const Picture& picture);

} // namespace k4sim
