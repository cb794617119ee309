#pragma once

// The arithmetic of the number controls, without windows.

#include <corekit/optionmap.h>
#include <corekit/string.h>

#include <vector>
#include <wx/wxvnumberselector.h>

// NumberRange maps the numbers between two ends to the places of a slider.
// A value. Always: low is not above high, and there is at least one step.
struct NumberRange {
    // Places that a slider has at most.
    static constexpr int k_MostSteps = 1'000'000;

    NumberRange(int low_, int high_);
    NumberRange(double low_, double high_);

    int PositionOf(double value) const;
    double ValueAt(int position) const;
    double Clamped(double value) const;
    // Whole numbers without a fraction, others in the shortest form.
    corekit::String TextOf(double value) const;
    // The number in a text; 0 where there is none.
    double Read(corekit::String const& text) const;

    NumberKind kind;
    double low;
    double high;
    double step;
    int steps;
};

// `text` moved by `count` whole numbers, within the limits. Text that is no number
// counts as 0. An integer that would run over stops at its end.
corekit::String StepNumber(corekit::String const& text, NumberKind kind, int count, double low, double high);
// `text`, or the limit past which it lies.
corekit::String ClampNumber(corekit::String const& text, NumberKind kind, double low, double high);

// NumberChoices knows which numbers have names, and how the others are entered.
// Owner: its control. Always: the names come in the order of their numbers, then the
// entry for other numbers, then the one for negative ones, if there is one.
class NumberChoices {
public:
    NumberChoices(corekit::OptionMap const& specials, CustomNumbers const& custom);

    std::vector<corekit::String> Entries() const;
    size_t EntryOf(corekit::String const& value) const;
    bool IsCustom(size_t entry) const { return entry >= m_specials.size(); }
    // What the number field shows when the entry is chosen.
    corekit::String StartOf(size_t entry) const;
    // The value of an entry with that in the number field.
    corekit::String ValueOf(size_t entry, corekit::String const& number) const;

private:
    struct Special {
        corekit::String number;
        corekit::String name;
    };
    bool HasNegative() const { return !m_custom.negative.Empty(); }

    std::vector<Special> m_specials;
    CustomNumbers const m_custom;
};
