// The address pointer of an OLED controller: it walks through a window of columns and
// rows and wraps at the window's edges.
#pragma once

namespace k4sim {

class OledWindow {
public:
    // Edges are inclusive; the column pointer goes to the first column.
    void set_columns(unsigned first, unsigned last) {
        first_column_ = column_ = first;
        last_column_ = last;
    }

    // The row pointer goes to the first row.
    void set_rows(unsigned first, unsigned last) {
        first_row_ = row_ = first;
        last_row_ = last;
    }

    unsigned column() const { return column_; }
    unsigned row() const { return row_; }

    // One column on, and at the end of the window's row one row on.
    void advance_along_row() {
        if (step(column_, first_column_, last_column_)) step(row_, first_row_, last_row_);
    }

    // One row on, and at the end of the window's column one column on.
    void advance_down_column() {
        if (step(row_, first_row_, last_row_)) step(column_, first_column_, last_column_);
    }

private:
    // True when the pointer wrapped.
    static bool step(unsigned& pointer, unsigned first, unsigned last) {
        const bool wraps = pointer == last;
        pointer = wraps ? first : pointer + 1;
        return wraps;
    }

    unsigned first_column_ = 0, last_column_ = 0, column_ = 0;
    unsigned first_row_ = 0, last_row_ = 0, row_ = 0;
};

} // namespace k4sim
