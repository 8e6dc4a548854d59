#include "sim/operator/screen_reader.h"

#include "sim/operator/letters.h"

#include <algorithm>
#include <array>
#include <sstream>

namespace k4sim {

namespace {

constexpr int rows = 6;
constexpr int row_pitch = 10;
constexpr int status_x = 70;
constexpr std::uint8_t lit_from = 8; // greys from the middle on count as lit

using Column = unsigned; // bit n: row n of the letter is lit

struct Letter {
    char character;
    std::vector<Column> columns;
};

std::vector<std::string> words_of(const std::string& line) {
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

void add_row(Letter& letter, const std::string& row, int y) {
    letter.columns.resize(row.size());
    for (std::size_t x = 0; x < row.size(); ++x)
        if (row[x] == '#') letter.columns[x] |= 1U << y;
}

// Widest first: a letter may begin like another, narrower one.
std::vector<Letter> make_letters() {
    std::vector<Letter> letters;
    std::istringstream pictures{std::string(letter_pictures)};
    for (std::string heading; std::getline(pictures, heading);) {
        const std::vector<std::string> names = words_of(heading);
        const std::size_t first = letters.size();
        for (const std::string& name : names)
            letters.push_back({name[0], {}});
        std::string line;
        for (int y = 0; !names.empty() && y < letter_height && std::getline(pictures, line); ++y) {
            const std::vector<std::string> pieces = words_of(line);
            for (std::size_t i = 0; i < std::min(pieces.size(), names.size()); ++i)
                add_row(letters[first + i], pieces[i], y);
        }
    }
    letters.push_back({' ', std::vector<Column>(blank_width)});
    std::stable_sort(letters.begin(), letters.end(), [](const Letter& a, const Letter& b) {
        return a.columns.size() > b.columns.size();
    });
    return letters;
}

const std::vector<Letter>& letters() {
    static const std::vector<Letter> all = make_letters();
    return all;
}

// The columns of the text, with the blank ones behind it cut off.
std::vector<Column> columns_of(const Picture& picture, int x0, int x1, int y0) {
    std::vector<Column> columns;
    for (int x = x0; x < x1; ++x) {
        Column column = 0;
        for (int y = 0; y < letter_height; ++y)
            if (picture[glass_width * static_cast<unsigned>(y0 + y) + static_cast<unsigned>(x)] >=
                lit_from)
                column |= 1U << y;
        columns.push_back(column);
    }
    while (!columns.empty() && columns.back() == 0)
        columns.pop_back();
    return columns;
}

bool stands_at(const Letter& letter, const std::vector<Column>& columns, std::size_t x) {
    const auto at = [&](std::size_t i) { return i < columns.size() ? columns[i] : 0; };
    for (std::size_t i = 0; i < letter.columns.size(); ++i)
        if (at(x + i) != letter.columns[i]) return false;
    return at(x + letter.columns.size()) == 0; // the gap
}

} // namespace

std::string read_text(const Picture& picture, int x0, int x1, int y) {
    const std::vector<Column> columns = columns_of(picture, x0, x1, y);
    std::string text;
    for (std::size_t x = 0; x < columns.size();) {
        const auto letter =
            std::find_if(letters().begin(), letters().end(),
                         [&](const Letter& candidate) { return stands_at(candidate, columns, x); });
        if (letter == letters().end()) return text.empty() ? text : text + '?';
        text += letter->character;
        x += letter->columns.size() + letter_gap;
    }
    return text;
}

std::vector<ScreenRow> read_screen(const Picture& picture) {
    std::vector<ScreenRow> table;
    for (int row = 0; row < rows; ++row) {
        const int y = row * row_pitch;
        table.push_back({read_text(picture, 0, status_x, y),
                         read_text(picture, status_x, static_cast<int>(glass_width), y)});
    }
    if (std::all_of(table.begin(), table.end(),
                    [](const ScreenRow& row) { return row.label.empty(); }))
        table.clear();
    return table;
}

} // namespace k4sim
