#pragma once

// Tables for people.

#include "cli/terminal.h"

#include <vector>

namespace vorlan::cli {

struct Cell {
    String text;
    Colour colour = Colour::Plain;

    Cell(String cellText, Colour cellColour = Colour::Plain) : text(std::move(cellText)), colour(cellColour) {}
    Cell(char const* cellText) : text(cellText) {}
    Cell(std::string cellText) : text(std::move(cellText)) {}
};

// Table lays rows out in aligned columns, as wide as their content.
// Owner: the command that prints it. Thread: one.
class Table {
public:
    enum class Align { Left, Right };
    // May the column be cut when the table is wider than the terminal?
    enum class Width { Full, MayShrink };

    void AddColumn(String const& title, Align align = Align::Left, Width width = Width::Full);
    // As many cells as there are columns; fewer leave the rest empty.
    void AddRow(std::vector<Cell> row);
    bool Empty() const { return m_rows.empty(); }

    // Titles and rows. Columns that may shrink lose what does not fit the terminal.
    void Print(Terminal& terminal) const;

private:
    struct Column {
        String title;
        Align align;
        Width width;
    };
    std::vector<size_t> Widths(size_t terminalWidth) const;

    std::vector<Column> m_columns;
    std::vector<std::vector<Cell>> m_rows;
};

} // namespace vorlan::cli
