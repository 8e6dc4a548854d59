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

constexpr std::size_t lit_share = 16; // one pixel of so many may stay dark in the lamp test

using Column = unsigned; // bit n: row n of the letter is lit

// A column of the glass, where letters stand.
struct Seen {
    Column lit = 0;
    Column spoiled = 0;
    bool is_blank() const { return (lit & ~spoiled) == 0; }
    bool may_be(Column column) const { return ((lit ^ column) & ~spoiled) == 0; }
};

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

// Widest first: a letter may begin like another, narrower one. Of what looks the same beside a
// broken line, the blank is the likeliest.
std::vector<Letter> make_letters() {
    std::vector<Letter> letters{{' ', std::vector<Column>(blank_width)}};
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
    std::stable_sort(letters.begin(), letters.end(), [](const Letter& a, const Letter& b) {
        return a.columns.size() > b.columns.size();
    });
    return letters;
}

const std::vector<Letter>& letters() {
    static const std::vector<Letter> all = make_letters();
    return all;
}

std::size_t pixel(std::size_t x, std::size_t y) { return y * glass_width + x; }

bool is_lit(const Picture& picture, std::size_t x, std::size_t y) {
    return picture[pixel(x, y)] >= lit_from;
}

// The lines that are lit from edge to edge.
Spoiled lit_lines(const Picture& picture) {
    std::array<unsigned, glass_width> column{};
    std::array<unsigned, glass_height> row{};
    for (std::size_t y = 0; y < glass_height; ++y)
        for (std::size_t x = 0; x < glass_width; ++x)
            if (is_lit(picture, x, y)) ++column[x], ++row[y];
    Spoiled spoiled;
    for (std::size_t x = 0; x < glass_width; ++x)
        for (std::size_t y = 0; column[x] == glass_height && y < glass_height; ++y)
            spoiled.set(pixel(x, y));
    for (std::size_t y = 0; y < glass_height; ++y)
        for (std::size_t x = 0; row[y] == glass_width && x < glass_width; ++x)
            spoiled.set(pixel(x, y));
    return spoiled;
}

// The columns of the text, with the blank ones behind it cut off.
std::vector<Seen> columns_of(const Picture& picture, const Spoiled& spoiled, int x0, int x1,
                             int y0) {
    std::vector<Seen> columns;
    for (auto x = static_cast<std::size_t>(x0); x < static_cast<std::size_t>(x1); ++x) {
        Seen column;
        for (std::size_t y = 0; y < letter_height; ++y) {
            const std::size_t at = static_cast<std::size_t>(y0) + y;
            if (is_lit(picture, x, at)) column.lit |= 1U << y;
            if (spoiled[pixel(x, at)]) column.spoiled |= 1U << y;
        }
        columns.push_back(column);
    }
    while (!columns.empty() && columns.back().is_blank())
        columns.pop_back();
    return columns;
}

bool stands_at(const Letter& letter, const std::vector<Seen>& columns, std::size_t x) {
    const auto at = [&](std::size_t i) { return i < columns.size() ? columns[i] : Seen{}; };
    for (std::size_t i = 0; i < letter.columns.size(); ++i)
        if (!at(x + i).may_be(letter.columns[i])) return false;
    return at(x + letter.columns.size()).is_blank(); // the gap
}

} // namespace

std::string read_text(const Picture& picture, int x0, int x1, int y, const Spoiled& spoiled) {
    const std::vector<Seen> columns = columns_of(picture, spoiled, x0, x1, y);
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

bool ScreenReader::is_lamp_test(const Picture& picture) {
    const auto lit = static_cast<std::size_t>(
        std::ranges::count_if(picture, [](auto grey) { return grey >= lit_from; }));
    return lit > picture.size() / lit_share * (lit_share - 1);
}

std::vector<ScreenRow> ScreenReader::read(const Picture& picture) {
    if (is_lamp_test(picture)) {
        for (std::size_t i = 0; i < picture.size(); ++i)
            dark_[i] = picture[i] < lit_from;
        return {};
    }
    const Spoiled spoiled = dark_ | lit_lines(picture);
    std::vector<ScreenRow> table;
    for (int row = 0; row < rows; ++row) {
        const int y = row * row_pitch;
        table.push_back({read_text(picture, 0, status_x, y, spoiled),
                         read_text(picture, status_x, static_cast<int>(glass_width), y, spoiled)});
    }
    if (std::ranges::all_of(table, &std::string::empty, &ScreenRow::label)) table.clear();
    return table;
}

} // namespace k4sim
