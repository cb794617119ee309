#include "cli/table.h"

#include <gtest/gtest.h>

#include <sstream>

namespace vorlan::cli {

TEST(DisplayWidth, CountsColumns) {
    struct Case {
        char const* text;
        size_t columns;
    };
    for (Case const& one :
         {Case{"", 0}, Case{"frame", 5}, Case{"Größe", 5}, Case{"片段", 4}, Case{"e\u0301", 1}, Case{"…", 1},
          Case{"a\xff"
               "b",
               3}})
        EXPECT_EQ(DisplayWidth(one.text), one.columns) << one.text;
}

TEST(FitWidth, CutsBetweenCharacters) {
    struct Case {
        char const* text;
        size_t width;
        char const* fits;
    };
    for (Case const& one :
         {Case{"orrery", 6, "orrery"}, Case{"orrery", 5, "orre…"}, Case{"片段片段", 6, "片段…"},
          Case{"片段片段", 7, "片段片…"}, Case{"äöüß", 3, "äö…"}, Case{"abc", 0, "abc"}, Case{"abc", 1, "…"}})
        EXPECT_EQ(FitWidth(one.text, one.width), one.fits);
}

TEST(Printable, KeepsAJobFromDrivingTheTerminal) {
    EXPECT_EQ(Printable("a\x1b[2Jb\rc\a\x7f"), "a?[2Jb?c??");
    EXPECT_EQ(Printable("one\n\ttwo\x1b", true), "one\n\ttwo?");
    EXPECT_EQ(Printable("one\ntwo"), "one?two");
    EXPECT_EQ(Printable("grün\xfe"), "grün?");
    EXPECT_EQ(Printable(String("a\0b", 3)), "a?b");
}

class TableLayout : public testing::Test {
protected:
    std::string Print(Table const& table) {
        table.Print(m_terminal);
        return m_out.str();
    }
    static Table Sample() {
        Table table;
        table.AddColumn("ID");
        table.AddColumn("Name", Table::Align::Left, Table::Width::MayShrink);
        table.AddColumn("Done", Table::Align::Right);
        table.AddRow({"1", "Küche, Szene 片段", "7 %"});
        table.AddRow({"12345678", Cell("b", Colour::Red), "100 %"});
        return table;
    }

    std::ostringstream m_out;
    std::ostringstream m_err;
    Terminal m_terminal{m_out, m_err};
};

TEST_F(TableLayout, AlignsByColumnsNotBytes) {
    EXPECT_EQ(Print(Sample()), "ID        Name                Done\n"
                               "1         Küche, Szene 片段    7 %\n"
                               "12345678  b                  100 %\n");
}

TEST_F(TableLayout, ShrinksOnlyWhatMay) {
    m_terminal.width = 27;
    EXPECT_EQ(Print(Sample()), "ID        Name         Done\n"
                               "1         Küche, Sz…    7 %\n"
                               "12345678  b           100 %\n");
}

TEST_F(TableLayout, StaysReadableOnANarrowTerminal) {
    m_terminal.width = 5;
    EXPECT_EQ(Print(Sample()), "ID        Name       Done\n"
                               "1         Küche, …    7 %\n"
                               "12345678  b         100 %\n");
}

TEST_F(TableLayout, ColoursOnlyWhereToldTo) {
    EXPECT_EQ(Print(Sample()).find('\x1b'), std::string::npos);
    m_out.str("");
    m_terminal.colours = true;
    EXPECT_NE(Print(Sample()).find("\x1b[31mb\x1b[0m"), std::string::npos);
}

TEST_F(TableLayout, ShortRowsAreFilled) {
    Table table;
    table.AddColumn("A");
    table.AddColumn("B");
    table.AddRow({"x\ny"});
    EXPECT_EQ(Print(table), "A    B\nx?y  \n");
}

} // namespace vorlan::cli
