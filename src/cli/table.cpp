#include "cli/table.h"

#include <algorithm>
#include <numeric>
#include <ostream>

namespace vorlan::cli {

namespace {

constexpr size_t k_Gap = 2;
constexpr size_t k_Narrowest = 8; // what a column keeps when it shrinks

} // namespace

void Table::AddColumn(String const& title, Align align, Width width) { m_columns.push_back({title, align, width}); }

void Table::AddRow(std::vector<Cell> row) {
    row.resize(m_columns.size(), Cell(""));
    for (Cell& cell : row)
        cell.text = Printable(cell.text);
    m_rows.push_back(std::move(row));
}

std::vector<size_t> Table::Widths(size_t terminalWidth) const {
    std::vector<size_t> widths;
    for (size_t i = 0; i < m_columns.size(); ++i) {
        size_t width = DisplayWidth(m_columns[i].title);
        for (auto const& row : m_rows)
            width = std::max(width, DisplayWidth(row[i].text));
        widths.push_back(width);
    }
    if (terminalWidth == 0)
        return widths;
    size_t const gaps = widths.empty() ? 0 : (widths.size() - 1) * k_Gap;
    size_t total = std::accumulate(widths.begin(), widths.end(), gaps);
    // The widest gives first.
    while (total > terminalWidth) {
        size_t widest = widths.size();
        for (size_t i = 0; i < widths.size(); ++i) {
            bool const may = m_columns[i].width == Width::MayShrink && widths[i] > k_Narrowest;
            if (may && (widest == widths.size() || widths[i] > widths[widest]))
                widest = i;
        }
        if (widest == widths.size())
            break;
        --widths[widest];
        --total;
    }
    return widths;
}

void Table::Print(Terminal& terminal) const {
    std::vector<size_t> const widths = Widths(terminal.width);
    auto const print = [&](size_t i, Cell const& cell) {
        String const text = FitWidth(cell.text, widths[i]);
        size_t const used = DisplayWidth(text);
        std::string const fill(widths[i] > used ? widths[i] - used : 0, ' ');
        bool const isLast = i + 1 == m_columns.size();
        if (m_columns[i].align == Align::Right)
            terminal.out << fill;
        terminal.out << (terminal.colours ? Coloured(text, cell.colour) : text);
        if (isLast)
            terminal.out << '\n';
        else
            terminal.out << (m_columns[i].align == Align::Left ? fill : std::string()) << std::string(k_Gap, ' ');
    };
    for (size_t i = 0; i < m_columns.size(); ++i)
        print(i, Cell(m_columns[i].title, Colour::Grey));
    for (auto const& row : m_rows) {
        for (size_t i = 0; i < row.size(); ++i)
            print(i, row[i]);
    }
    terminal.out << std::flush;
}

} // namespace vorlan::cli
