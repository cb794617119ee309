#include "test.h"

#include "cli/table.h"

namespace vorlan::cli {

TEST(DisplayWidth, CountsColumns) {
    Rows<char const*, size_t> const cases = {{"", 0},        {"frame", 5}, {"Größe", 5}, {"片段", 4},
                                             {"e\u0301", 1}, {"…", 1},     {"a\xff!", 3}};
    for (auto const& [text, columns] : cases)
        EXPECT_EQ(DisplayWidth(text), columns) << text;
}

TEST(FitWidth, CutsBetweenCharacters) {
    Rows<char const*, size_t, char const*> const cases = {
        {"orrery", 6, "orrery"}, {"orrery", 5, "orre…"}, {"片段片段", 6, "片段…"}, {"片段片段", 7, "片段片…"},
        {"äöüß", 3, "äö…"},      {"abc", 0, "abc"},      {"abc", 1, "…"}};
    for (auto const& [text, width, fits] : cases)
        EXPECT_EQ(FitWidth(text, width), fits);
}

TEST(Printable, KeepsAJobFromDrivingTheTerminal) {
    EXPECT_EQ(Printable("a\x1b[2Jb\rc\a\x7f"), "a?[2Jb?c??");
    EXPECT_EQ(Printable("one\n\ttwo\x1b", true), "one\n\ttwo?");
    EXPECT_EQ(Printable("one\ntwo"), "one?two");
    EXPECT_EQ(Printable("grün\xfe"), "grün?");
    EXPECT_EQ(Printable(String("a\0b", 3)), "a?b");
    EXPECT_EQ(Printable("gpj\u202Egnp.exe \u2066x\u200F"), "gpj?gnp.exe ?x?");
}

TEST(TableLayout, AlignsByColumnsAndShrinksWhatMay) {
    // 0: as wide as it likes.
    Rows<size_t, char const*> const cases = {
        {0, "ID        Name                Done\n"
            "1         Küche, Szene 片段    7 %\n"
            "12345678  b                  100 %\n"
            "x?y                               \n"},
        {27, "ID        Name         Done\n"
             "1         Küche, Sz…    7 %\n"
             "12345678  b           100 %\n"
             "x?y                        \n"},
        {5, "ID        Name       Done\n"
            "1         Küche, …    7 %\n"
            "12345678  b         100 %\n"
            "x?y                      \n"},
    };
    Table table;
    table.AddColumn("ID");
    table.AddColumn("Name", Table::Align::Left, Table::Width::MayShrink);
    table.AddColumn("Done", Table::Align::Right);
    table.AddRow({"1", "Küche, Szene 片段", "7 %"});
    table.AddRow({"12345678", Cell("b", Colour::Red), "100 %"});
    table.AddRow({"x\ny"});
    std::ostringstream out;
    std::istringstream in;
    Terminal terminal(out, out, in);
    for (auto const& [width, text] : cases) {
        terminal.width = width;
        out.str("");
        table.Print(terminal);
        EXPECT_EQ(out.str(), text) << width;
    }
    terminal.colours = true;
    table.Print(terminal);
    EXPECT_NE(out.str().find("\x1b[31mb\x1b[0m"), std::string::npos);
}

} // namespace vorlan::cli
