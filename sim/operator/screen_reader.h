// Reads texts off the OLED, as a person does who knows the program's letters, and who sees which
// lines of the glass are broken.
#pragma once

#include "sim/models/panel/oled.h"

#include <bitset>
#include <string>
#include <tuple>
#include <vector>

namespace k4sim {

// One row of the status table.
struct ScreenRow {
    std::string label;
    std::string status;
};

// Which pixels of a glass tell nothing.
using Spoiled = std::bitset<std::tuple_size_v<Picture>>;

// The text in the picture whose letters' top row is y, from column x0 up to but not
// including column x1; without blanks at its end. Ends with "?" where something is no
// letter, such as one that the edge cuts off; empty when that is so from the start.
std::string read_text(const Picture& picture, int x0, int x1, int y, const Spoiled& spoiled = {});

class ScreenReader {
public:
    // Whether that much of the picture is lit that it is the lamp test, though a line stay dark.
    static bool is_lamp_test(const Picture& picture);

    // The rows of the status table from the top; none when no row has a label. A line that is lit
    // from edge to edge is no part of a letter, and a pixel that was dark in the lamp test may be.
    std::vector<ScreenRow> read(const Picture& picture);

private:
    Spoiled dark_; // in the lamp test, if there was one
};

} // namespace k4sim
