// The arithmetic behind the number and time controls.
#include "test.h"

#include "wxvorlan/controls/datetimetext.h"
#include "wxvorlan/controls/numberrange.h"

namespace test_numbers {

using corekit::String;
using corekit::Time;

constexpr double k_Unlimited = wxvNumberSelector::k_Unlimited;

TEST(NumberRange, EveryPlaceOfTheSliderIsANumberOfTheRange) {
    for (auto const& [range, steps, at, position, text] : Rows<NumberRange, int, double, int, char const*>{
             {NumberRange(0, 100), 100, 63, 63, "63"},
             {NumberRange(100, 0), 100, 63, 63, "63"},
             {NumberRange(-5, 5), 10, -5, 0, "-5"},
             {NumberRange(7, 7), 1, 7, 0, "7"},
             {NumberRange(0.0, 1.0), 1000, 0.3, 300, "0.3"},
             {NumberRange(2.0, 0.5), 1500, 0.5, 0, "0.5"},
             {NumberRange(-1.0, 1.0), 2000, 0.1, 1100, "0.1"},
             {NumberRange(0.0, 0.0), 1, 0, 0, "0"},
         }) {
        SCOPED_TRACE(text);
        EXPECT_EQ(range.steps, steps);
        EXPECT_EQ(range.PositionOf(at), position);
        EXPECT_EQ(range.TextOf(range.ValueAt(position)), text);
        EXPECT_EQ(range.ValueAt(0), range.low);
        EXPECT_EQ(range.ValueAt(range.steps), range.high);
    }
    NumberRange const all(INT_MIN, INT_MAX);
    EXPECT_LE(all.steps, NumberRange::k_MostSteps);
    EXPECT_EQ(all.ValueAt(all.PositionOf(INT_MAX)), INT_MAX);
    NumberRange const wide(-1e308, 1e308);
    EXPECT_GE(wide.steps, 1);
    EXPECT_LE(wide.PositionOf(1e308), wide.steps);
}

TEST(NumberRange, ReadsWhatPeopleType) {
    Rows<NumberRange, char const*, char const*> const cases = {
        {NumberRange(0, 100), "50", "50"},       {NumberRange(0, 100), "500", "100"},
        {NumberRange(0, 100), "-1", "0"},        {NumberRange(0, 100), "abc", "0"},
        {NumberRange(10, 20), "", "10"},         {NumberRange(0, 100), "7.9", "7"},
        {NumberRange(0.0, 1.0), "0.25", "0.25"}, {NumberRange(0.0, 1.0), "2", "1"},
        {NumberRange(0.0, 1.0), "nan", "0"},
    };
    for (auto const& [range, typed, text] : cases)
        EXPECT_EQ(range.TextOf(range.Read(typed)), text) << typed;
}

TEST(NumberField, StepsStayWithinTheLimits) {
    Rows<char const*, NumberKind, int, double, double, char const*> const cases = {
        {"5", NumberKind::Integer, 1, 0, 10, "6"},
        {"10", NumberKind::Integer, 1, 0, 10, "10"},
        {"3", NumberKind::Integer, -10, 0, 10, "0"},
        {"", NumberKind::Integer, 1, 0, 10, "1"},
        {"abc", NumberKind::Integer, -1, -5, 5, "-1"},
        {"9223372036854775807", NumberKind::Integer, 1, -k_Unlimited, k_Unlimited, "9223372036854774784"},
        {"1.5", NumberKind::Float, 1, 0, 10, "2.5"},
        {"9.5", NumberKind::Float, 1, 0, 10, "10"},
        {"inf", NumberKind::Float, 1, -k_Unlimited, k_Unlimited, "1"},
    };
    for (auto const& [text, kind, count, low, high, stepped] : cases)
        EXPECT_EQ(StepNumber(text, kind, count, low, high), stepped) << text;
    EXPECT_EQ(ClampNumber("50", NumberKind::Integer, 0, 10), "10");
    EXPECT_EQ(ClampNumber("007", NumberKind::Integer, 0, 10), "007") << "what fits stays as it was typed";
    EXPECT_EQ(ClampNumber("", NumberKind::Integer, 1, 10), "") << "no number is a choice too";
    EXPECT_EQ(ClampNumber("5x", NumberKind::Integer, 0, 1), "5x");
}

TEST(NumberChoices, NamesAndNumbersOfTheirOwn) {
    NumberChoices const choices({{"0", "No limit"}, {"1280", "HD"}, {"640", "Small"}},
                                {"Units at a time", "Engines at a time", "1", "-1"});
    EXPECT_EQ(choices.Entries(),
              (std::vector<String>{"No limit", "Small", "HD", "Units at a time", "Engines at a time"}));
    for (auto const& [value, entry] : Rows<char const*, size_t>{
             {"0", 0}, {"0.0", 0}, {"640", 1}, {"1280", 2}, {"7", 3}, {"", 3}, {"x", 3}, {"-3", 4}}) {
        EXPECT_EQ(choices.EntryOf(value), entry) << value;
        EXPECT_EQ(choices.IsCustom(entry), entry >= 3);
    }
    for (auto const& [entry, typed, value] : Rows<size_t, char const*, char const*>{
             {2, "anything", "1280"}, {3, " 12 ", "12"}, {4, "3", "-3"}, {4, "-3", "-3"}, {4, "", ""}})
        EXPECT_EQ(choices.ValueOf(entry, typed), value) << typed;
    NumberChoices const without({{"0", "All"}}, {"Custom", "", "1", ""});
    EXPECT_EQ(without.Entries().size(), 2u);
    EXPECT_EQ(without.EntryOf("-3"), 1u);
}

TEST(DateTimeText, ReadsNothingButDatesThatAre) {
    // text: null: refused
    for (auto const& [typed, text] : Rows<char const*, char const*>{
             {"2026-11-21 06:43:05", "2026-11-21 06:43:05"},
             {"2026-11-21 06:43", "2026-11-21 06:43:00"},
             {" 2026-11-21 ", "2026-11-21 00:00:00"},
             {"2024-02-29", "2024-02-29 00:00:00"},
             {"2025-02-29", nullptr},
             {"2026-13-01", nullptr},
             {"2026-11-21 24:00", nullptr},
             {"2026-11-21 06:60", nullptr},
             {"2026-11-21T06:43", nullptr},
             {"2026-11-2x", nullptr},
             {"0000-01-01", nullptr},
         }) {
        Time time(17);
        EXPECT_EQ(ReadDateTime(typed, time), text != nullptr) << typed;
        if (text)
            EXPECT_EQ(DateTimeText(time), text);
        else
            EXPECT_EQ(time, Time(17)) << typed;
    }
    Time unset(17);
    EXPECT_TRUE(ReadDateTime("  ", unset));
    EXPECT_TRUE(unset.IsZero());
    EXPECT_EQ(DateTimeText(unset), "");
}

TEST(DateTimeText, ThePartAtTheCaretMoves) {
    for (auto const& [text, caret, count, stepped] : Rows<char const*, size_t, int, char const*>{
             {"2026-11-21 06:43:05", 0, 1, "2027-11-21 06:43:05"},
             {"2026-11-21 06:43:05", 4, -1, "2025-11-21 06:43:05"},
             {"2026-11-21 06:43:05", 5, 2, "2027-01-21 06:43:05"},
             {"2026-01-31 00:00:00", 6, 1, "2026-02-28 00:00:00"},
             {"2026-12-31 23:59:59", 10, 1, "2027-01-01 23:59:59"},
             {"2026-12-31 23:59:59", 12, 1, "2027-01-01 00:59:59"},
             {"2026-12-31 23:59:59", 16, 1, "2027-01-01 00:00:59"},
             {"2026-12-31 23:59:59", 19, 1, "2027-01-01 00:00:00"},
             {"2026-11-21", 9, 1, "2026-11-22"},
             {"2026-11-21 06:43", 15, -1, "2026-11-21 06:42"},
             {"nothing", 2, 1, "nothing"},
             {"0001-01-01", 2, -1, "0001-01-01"},
         })
        EXPECT_EQ(StepDateTime(text, caret, count), stepped) << text << " at " << caret;
    wxDateTime const day(24, wxDateTime::Dec, 2026);
    EXPECT_EQ(WithDay("2026-11-21 06:43:05", day), "2026-12-24 06:43:05");
    EXPECT_EQ(WithDay("", day), "2026-12-24 00:00:00");
}

} // namespace test_numbers
